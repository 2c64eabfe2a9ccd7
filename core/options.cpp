#include "core/options.h"

#include <unistd.h>

#include <algorithm>
#include <cfloat>
#include <cstdio>
#include <cstdlib>
#include <limits>
#include <string_view>

#include "core/build.h"
#include "data/dataelement.h"
#include "files/paths.h"
#include "parallel/pool.h"

namespace ondrel {

bool timing = false, performance = false, processor_performance = false;
std::uint64_t MHz = 0;
bool opstime = false, flops = false, terse_ops = false, just_summary = false;

namespace {

constexpr int build = 4;

void print_usage(const char* program) {
    std::printf("Usage: %s -h -v -vv -q -u -c<arg> -c -th<arg> -t -p -pp<arg> -i{f,t,s} \n\n", program);
    std::fputs(
        "Where:\n"
        "\t-h \tThis usage message\n"
        "\t-v \tPrint version information.\n"
        "\t-vv \tPrint version and other (possibly) interesting information.\n\n"
        "\t-q \tQuiet, non-interactive mode:\n"
        "\t\tno copyright notice, or any other text,\n"
        "\t\texcept error messages.\n\n"
        "\t-u \tUnconstrain the access to files in directories of higher\n"
        "\t\thierarchical position. Any file the user has permissions\n"
        "\t\tto read/write/append to will be accepted.\n\n"
        "\t-c<number of processors>\n"
        "\t-c \tfor automatic selection of <number of processors>\n"
        "\t\tUse SMP with <number of processors>.\n"
        "\t-th<threads per processor>\n"
        "\t\tSpecify number of threads per processor (SMP only)\n"
        "\t\tThe default is 4.\n\n"
        "\t-t \tPrint process timing information.\n"
        "\t-p \tPrint performance information.\n"
        "\t-pp<processor speed in MHz>\n"
        "\t\tPrint processor performance information.\n"
        "\t-i \tPrint summary of instruction timings when exiting\n\t\t(if not quiet).\n"
        "\t-if \tPrint full summary of instruction timings,\n"
        "\t\tincluding floating point performance, when exiting\n\t\t(if not quiet).\n"
        "\t-it \tPrint terse operations/S per instruction,\n\t\twhen exiting (if not quiet).\n"
        "\t-is \tPrint just the summary of average operation timings\n\t\twhen exiting (if not quiet).\n"
        "\n",
        stdout);
}

// The sizes that the report states for each kind of element are what a reader of a kind touches; each takes the common
// size in memory.
void print_internals() {
    struct Size {
        const char* what;
        int bytes;
    };
    const auto print = [](std::initializer_list<Size> sizes) {
        for (const auto& [what, bytes] : sizes) std::printf("\t %s: %d\n", what, bytes);
    };
    std::fputs("Structure sizes:\n", stdout);
    print({{"data element (common size)", sizeof(DataElement)},
           {"ascii", 24},
           {"unicode", 24},
           {"integer", 24},
           {"real", 24},
           {"complex", 32},
           {"quaternion", 40},
           {"octonion", 88},
           {"file", 40},
           {"continuation", 40},
           {"subarray", 24},
           {"filler", 16}});
    std::fputs("\nIndividual element sizes (precisions):\n", stdout);
    print({{"character", 1}, {"integer", 8}, {"real", 8}, {"complex", 16}, {"quaternion", 32}, {"octonion", 64}});
    std::fputs("\nComputer internal integer sizes:\n", stdout);
    print({{"unsigned char", sizeof(unsigned char)},
           {"unsigned short int", sizeof(unsigned short)},
           {"unsigned int", sizeof(unsigned)}});
    std::printf("\t unsigned long int: %ld\n", static_cast<long>(sizeof(unsigned long)));
    std::fputs("\n(All sizes are in bytes.)\n\nComputer implementation precision data:\n", stdout);
    std::printf("\tGreatest INTEGER value = %ld\n\n", std::numeric_limits<long>::max());
    std::printf("\tGreatest integer REAL value = %ld\n", (1L << DBL_MANT_DIG) - 1);
    std::printf("\tREAL value precision = %.16lg\n", 1e-15);
    std::printf("\t\tprecision in decimal numbers = %lg digits\n", 15.59);
    std::printf("\t\teps = %lg\n", 1.110223025e-16);
    std::printf("\t\tomega = %lg\n", DBL_MAX);
    std::fputs("\n\n", stdout);
}

[[noreturn]] void end(int code = 0) {
    std::fflush(stdout);
    std::exit(code);
}

[[noreturn]] void report_version(bool internals) {
    print_version();
    if (internals) print_internals();
    end();
}

// The arguments as the scan sees them: bytes, and a dash that has been read and waits for its letter.
struct Scan {
    const char* program;
    const char* rest = "";
    bool dash = false;

    bool ended() const { return *rest == '\0'; }
    // The number that stands next, not above `most`; 0 for none, and for what is no count.
    long take_number(long most = std::numeric_limits<long>::max()) {
        char* behind = nullptr;
        const long number = std::strtol(rest, &behind, 10);
        rest = behind;
        return std::clamp(number, 0L, most);
    }
    long need_number(const char* what, const char* option, long most = std::numeric_limits<long>::max()) {
        const long number = take_number(most);
        if (number > 0) return number;
        std::printf("%s must be given for -%s option\n", what, option);
        end(1);
    }
    // The letter that says more of an option; the end of the argument is none.
    char take_letter(std::string_view letters) {
        if (ended()) return '\0';
        const char letter = *rest++;
        if (letters.find(letter) != letters.npos) return letter;
        std::printf("Unrecognised option: -%c\n\n", letter);
        print_usage(program);
        end();
    }
};

// Without a number all processors of the machine; then the dash is not used up.
bool read_processors(Scan& scan) {
    if (const long number = scan.take_number(most_threads)) {
        processors = cpus = static_cast<std::uint32_t>(number);
        return true;
    }
    processors = static_cast<std::uint32_t>(std::clamp(sysconf(_SC_NPROCESSORS_CONF), 1L, most_threads));
    return false;
}

void read_timing(Scan& scan) {
    if (scan.take_letter("h") == 'h')
        thrds = static_cast<std::int32_t>(scan.need_number("The number of threads", "th", most_threads));
    else
        timing = true;
}

void read_performance(Scan& scan) {
    if (scan.take_letter("p") == 'p') {
        MHz = static_cast<std::uint64_t>(scan.need_number("Processor speed", "pp"));
        processor_performance = true;
    } else {
        performance = true;
    }
}

void read_instruction_timing(Scan& scan) {
    const char letter = scan.take_letter("fts");
    opstime = true;
    flops |= letter == 'f' || letter == 't';
    terse_ops |= letter == 't';
    just_summary |= letter == 's';
}

}  // namespace

void print_version() {
    std::printf("\n\n-- Ondrel %s version %s [build %d] %s --\n\n%s\n\n", version, "n0.0 smp0.7", build, "64-bit",
                "A postfix array language. Sentences end with a point.");
    std::printf("\n Compiled on: %s at %s with\n %s\n\n\n", built_on, __DATE__ " " __TIME__, built_with);
}

// A dash that has been read waits for its letter, in the next argument too if it must. The count is read as a signed
// byte: a list of 128 words or more is not looked at.
Options read_options(int count, char** arguments) {
    Options options;
    Scan scan{.program = arguments[0]};
    for (int i = static_cast<signed char>(count) - 1; i > 0; --i)
        for (scan.rest = arguments[i]; !scan.ended();) {
            const char letter = *scan.rest++;
            const bool needs_no_dash = letter == '-' || letter == 'u' || letter == 'v';
            if (!scan.dash && !needs_no_dash) continue;
            bool used = true;
            switch (letter) {
                case '-': used = false; break;
                case 'h': print_usage(arguments[0]); end();
                case 'v':
                    if (scan.dash) report_version(*scan.rest == 'v');
                    constraindirectories = false;
                    break;
                case 'q': options.quiet = true; break;
                case 'u': constraindirectories = false; break;
                case 'c': used = read_processors(scan); break;
                case 't': read_timing(scan); break;
                case 'p': read_performance(scan); break;
                case 'i': read_instruction_timing(scan); break;
                default: continue;
            }
            scan.dash = !used;
        }
    return options;
}

}  // namespace ondrel
