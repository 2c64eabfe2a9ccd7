#include "bench/stream.h"

#include <cstdlib>
#include <string>

#include "core/activation.h"
#include "core/native_stack.h"
#include "data/blocks.h"
#include "parallel/pool.h"
#include "translator/tokens.h"

namespace ondrel {

void start_interpreter() {
    static const bool started = [] {
        make_token_tables();
        make_system_variables();
        measure_present_stack();
        processors = 1;  // and the main thread
        size_pool();
        start_pool(
            deep_walk, [](std::uint32_t) {}, true);
        processors = 1;
        return true;
    }();
    static_cast<void>(started);
}

Stream::Stream(std::string_view text) {
    start_interpreter();
    const std::string copy(text);
    const char* position = copy.c_str();
    count = fill(cells, &variables, nullptr, &position);
    if (count == 0) std::abort();
}

Stream::~Stream() { cleanup(cells); }

std::int64_t Stream::run() {
    Activation activation{.cell = cells,
                          .sp = stack,
                          .argument_floor = stack + 1,
                          .frame_base = stack + 1,
                          .tables = &variables,
                          .code = cells,
                          .cells = static_cast<std::uint32_t>(count - 1),
                          .level = 1};
    ondrel::run(activation);
    const DataElement& top = *activation.sp;
    const std::int64_t result = activation.sp > stack && top.rank == 0 ? items_of(top)->integer : 0;
    while (activation.sp > stack) dereferencepoint(*activation.sp--);
    return result;
}

void add_row(const std::string& name, std::int64_t items,
             const std::function<void(benchmark::State&, std::uint32_t threads)>& ours,
             void (*limit)(benchmark::State&)) {
    constexpr double warm_up = 0.05;  // seconds: the first use of a large block is the system's page faults, not ours
    const auto add = [&](const char* owner, const auto& work) {
        benchmark::RegisterBenchmark((std::string(owner) + "/" + name).c_str(), work)
            ->Arg(items)
            ->MinWarmUpTime(warm_up)
            ->UseRealTime();
    };
    add("ours", [ours](benchmark::State& state) { ours(state, 1); });
    add("two", [ours](benchmark::State& state) { ours(state, 2); });
    add("plain", limit);
}

void measure(benchmark::State& state, std::uint32_t threads, std::string_view sentence, std::int64_t items) {
    Stream stream(sentence);
    processors = threads;
    for (auto _ : state) stream.run();
    processors = 1;
    state.SetItemsProcessed(state.iterations() * items);
}

}  // namespace ondrel
