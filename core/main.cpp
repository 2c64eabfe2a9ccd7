// The life of the process: options, limits, greeting, the loop, and everything given back.
#include <fcntl.h>
#include <sys/resource.h>
#include <unistd.h>

#include <cerrno>
#include <cmath>
#include <cstdio>
#include <cstring>

#include "core/clock.h"
#include "core/loop.h"
#include "core/native_stack.h"
#include "core/options.h"
#include "core/report.h"
#include "core/timing.h"
#include "data/allocator.h"
#include "data/errors.h"
#include "numbers/random.h"
#include "parallel/pool.h"
#include "translator/symbols.h"
#include "translator/tokens.h"

namespace {

using namespace ondrel;

constexpr double unknown_memory = 16777216.0, mebibyte = 1048576.0;
constexpr double share_of_memory = 0.9;  // what values may take; the rest is the system's

// No file gets the number of a standard stream that is closed: what goes there goes nowhere.
void fill_standard_streams() {
    for (int number = STDIN_FILENO; number <= STDERR_FILENO; ++number)
        if (fcntl(number, F_GETFD) < 0 && open("/dev/null", O_RDWR) < 0) open("/", O_RDONLY);
}

// Data and stack may grow as far as the system lets this process: nested runs of the machine live on the native stack.
void raise_limits() {
    for (const auto resource : {RLIMIT_DATA, RLIMIT_STACK}) {
        rlimit limit{};
        if (getrlimit(resource, &limit) != 0) {
            std::fprintf(stderr, "Cannot set limits: %s\n", std::strerror(errno));
            continue;
        }
        if (limit.rlim_cur >= limit.rlim_max) continue;
        limit.rlim_cur = limit.rlim_max;
        setrlimit(resource, &limit);
    }
}

double physical_memory() {
    const double bytes = static_cast<double>(sysconf(_SC_PHYS_PAGES)) * static_cast<double>(sysconf(_SC_PAGESIZE));
    return bytes > 0 ? bytes : unknown_memory;
}

void print_machine(double memory) {
    const bool single = processors == 1;
    if (single)
        std::fputs("Single processor", stdout);
    else
        std::printf("Processors: %d, Threads: %d", static_cast<int>(processors - 1) / thrds,
                    static_cast<int>(processors));
    if (processor_performance)
        std::printf("%s: %ld MHz", single ? ", Clock" : "\nCumulative clock", static_cast<long>(MHz));
    std::fputs("\n\n", stdout);
    if (memory != unknown_memory) std::printf("Available memory: %lg MiB\n", memory / mebibyte);
    std::fputs("\n", stdout);
}

void print_time_spent() {
    tval = read_clock();
    constexpr long second = 1000000, minute = 60 * second, hour = 60 * minute;
    const long spent = std::lround((tval - starttime) * second);
    std::printf("--- Spent: %.2d:%.2d:%.2d.%.06d ---\n\n", static_cast<int>(spent / hour),
                static_cast<int>(spent % hour / minute), static_cast<int>(spent % minute / second),
                static_cast<int>(spent % second));
}

// The stream of chance of the thread that calls.
void seed_by_the_clock(std::uint32_t thread) {
    constexpr std::int64_t from_the_clock = -1;
    SEED_PRNGS(thread, prngs_seed, from_the_clock);
}

}  // namespace

int main(int count, char** arguments) {
    arm_signals();
    fill_standard_streams();
    const Options options = read_options(count, arguments);
    if (!options.quiet) print_version();
    size_pool();
    raise_limits();
    const double memory = physical_memory();
    if (memory != unknown_memory) most_memory = static_cast<std::size_t>(memory * share_of_memory);
    if (!options.quiet) print_machine(memory);
    tval = starttime = read_clock();
    make_token_tables();
    if (!options.quiet) exception(message::greeting);
#ifdef ONDREL_CHECKS
    const auto blocks_at_start = live_blocks;
#endif
    make_system_variables();
    start_pool(deep_walk, seed_by_the_clock, options.quiet);
    seed_by_the_clock(0);

    static const bool quiet = options.quiet;
    run_on_large_stack([] {
        interactive_loop(quiet);
        stop_pool();
        wipe_all_tables();
    });

    if (!options.quiet) {
        report_instructions();
        std::printf("\n%s\n", errors(message::farewell));
    }
    std::fputs("\n", stdout);
#ifdef ONDREL_CHECKS
    if (live_blocks != blocks_at_start)
        std::fprintf(stderr, "%ld blocks were not given back\n", static_cast<long>(live_blocks - blocks_at_start));
#endif
    print_time_spent();
    return 0;
}
