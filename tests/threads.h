// Worker threads inside the test process.
#pragma once

#include <algorithm>

#include "core/native_stack.h"
#include "parallel/pool.h"

namespace ondrel {

inline constexpr std::uint32_t most_workers = 8;

// As many threads as a test asks for; at its end the main thread is alone again. The workers are started once.
class Threads {
public:
    explicit Threads(std::uint32_t threads = 1) {
        static const Pool pool;
        shortest_work = 0;
        use(threads, 0);
    }
    ~Threads() { use(1, 0); }
    Threads(const Threads&) = delete;
    Threads& operator=(const Threads&) = delete;

    // What has more than `least` items is handed out.
    static void use(std::uint32_t threads, std::int64_t least) {
        processors = threads;
        MIN_PARALLEL = std::max<std::int64_t>(threads, least);
    }

private:
    struct Pool {
        Pool() {
            processors = most_workers;
            size_pool();
            start_pool(
                deep_walk, [](std::uint32_t) {}, true);
        }
        ~Pool() { stop_pool(); }
    };
};

}  // namespace ondrel
