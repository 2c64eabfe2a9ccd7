#include "core/clock.h"

#include <sys/resource.h>

#include <chrono>
#include <cstdlib>

namespace ondrel {
namespace {

// What stands for a clock, if the environment of a test asks for it.
struct Steps {
    double step = 0, now = 0;

    Steps() {
#ifdef ONDREL_CHECKS
        if (const char* const text = std::getenv("ONDREL_CLOCK")) step = std::strtod(text, nullptr);
#endif
    }
    bool on() const { return step > 0; }
};

Steps& steps() {
    static Steps from_environment;
    return from_environment;
}

}  // namespace

double read_clock() {
    if (Steps& fixed = steps(); fixed.on()) return fixed.now += fixed.step;
    return std::chrono::duration<double>(std::chrono::steady_clock::now().time_since_epoch()).count();
}

ProcessorTime processor_time() {
    if (const Steps& fixed = steps(); fixed.on()) return {fixed.now, fixed.step};
    rusage usage{};
    getrusage(RUSAGE_SELF, &usage);
    const auto seconds = [](const timeval& time) {
        return static_cast<double>(time.tv_sec) + static_cast<double>(time.tv_usec) * 1e-6;
    };
    return {seconds(usage.ru_utime), seconds(usage.ru_stime)};
}

}  // namespace ondrel
