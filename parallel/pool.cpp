#include "parallel/pool.h"

#include <sched.h>

#include <algorithm>
#include <cerrno>
#include <csignal>
#include <cstdio>
#include <new>
#include <span>

namespace ondrel {

std::uint32_t cpus = 0;
std::int32_t thrds = 1;
ToCoprocessors to_coprocessors;
std::unique_ptr<CoprocessorRecord[]> from_coprocessor;
bool handing_off = false;
double shortest_work = 50e-6;

namespace {

constexpr std::int64_t items_a_thread = 1001;

Finish finish_in_flight = nullptr;
pthread_attr_t thread_attributes;
void (*prepare_worker)(std::uint32_t thread) = nullptr;

std::span<CoprocessorRecord> workers(std::uint32_t threads) {
    if (threads <= 1) return {};
    return {from_coprocessor.get() + 1, threads - 1};
}

void wait_on(sem_t& semaphore) {
    while (sem_wait(&semaphore) != 0 && errno == EINTR) {
    }
}

// ---- the workers

void run_kernel(CoprocessorRecord& own, std::uint32_t number) {
    own.complete = false;
    own.failed = false;
    own.error = 0;
    own.processor = sched_getcpu();
    try {
        own.complete = to_coprocessors.kernel(to_coprocessors.work, number);
    } catch (const Unwind&) {
        own.failed = true;
    } catch (const std::bad_alloc&) {
        own.failed = true;
        own.error = 27;
    }
}

void vector_coprocessor(std::uint32_t number) {
    CoprocessorRecord& own = from_coprocessor[number];
    worker_error = &own.error;
    for (;;) {
        wait_on(own.coprocess);
        if (to_coprocessors.kernel == nullptr) return;
        run_kernel(own, number);
        sem_post(&own.mainprocess);
    }
}

void* vector_coprocessor_thread(void* record) {
    const auto number = static_cast<std::uint32_t>(static_cast<CoprocessorRecord*>(record) - from_coprocessor.get());
    prepare_worker(number);
    vector_coprocessor(number);
    return nullptr;
}

// ---- processors

// Where there is one for each thread, a worker that last ran on the main thread's is kept off it: the system would wake
// it there again, beside its waker, and take milliseconds to move it. But it may have that one too when the main thread
// goes to sleep, as others may keep the rest busy.
cpu_set_t allowed_processors;
bool is_spacious = false;

void keep_off(CoprocessorRecord& worker, int processor) {
    cpu_set_t others = allowed_processors;
    CPU_CLR(static_cast<std::size_t>(processor), &others);
    worker.kept_off = pthread_setaffinity_np(worker.thread, sizeof others, &others) == 0;
}

void allow_all(CoprocessorRecord& worker) {
    if (!worker.kept_off) return;
    pthread_setaffinity_np(worker.thread, sizeof allowed_processors, &allowed_processors);
    worker.kept_off = false;
}

// The threads of a hand-off end at about the same time: it would take longer to fall asleep and be woken than to look
// again for some tens of microseconds.
void await(CoprocessorRecord& worker) {
    constexpr int looks = 512;
    for (int look = 0; look < looks; ++look) {
        if (sem_trywait(&worker.mainprocess) == 0) return;
        sched_yield();
    }
    allow_all(worker);
    wait_on(worker.mainprocess);
}

}  // namespace

void size_pool() {
    if (processors == 0) {
        processors = 1;
        thrds = 1;
    } else {
        processors = static_cast<std::uint32_t>(std::min(long{processors} * thrds, most_threads)) + 1;
    }
    cpus = processors;
}

void start_pool(std::size_t stack_bytes, void (*prepare)(std::uint32_t thread), bool quiet) {
    MIN_PARALLEL = processors * items_a_thread;
    from_coprocessor = std::make_unique<CoprocessorRecord[]>(processors);
    prepare_worker = prepare;
    if (processors == 1) return;
    pthread_attr_init(&thread_attributes);
    pthread_attr_setstacksize(&thread_attributes, stack_bytes);
    is_spacious = sched_getaffinity(0, sizeof allowed_processors, &allowed_processors) == 0 &&
                  static_cast<std::uint32_t>(CPU_COUNT(&allowed_processors)) >= processors;
    sigset_t all, before;  // what a thread blocks is what its maker did
    sigfillset(&all);
    pthread_sigmask(SIG_SETMASK, &all, &before);
    for (std::uint32_t i = 1; i < processors; ++i) {
        CoprocessorRecord& record = from_coprocessor[i];
        sem_init(&record.coprocess, 0, 0);
        sem_init(&record.mainprocess, 0, 0);
        if (pthread_create(&record.thread, &thread_attributes, vector_coprocessor_thread, &record) == 0) continue;
        processors = cpus = i;
        if (!quiet) std::printf(", Succeeded to start %d threads.", static_cast<int>(i));
    }
    pthread_sigmask(SIG_SETMASK, &before, nullptr);
}

void stop_pool() {
    if (cpus == 1) return;
    to_coprocessors = {};
    for (CoprocessorRecord& worker : workers(cpus)) sem_post(&worker.coprocess);
    for (CoprocessorRecord& worker : workers(cpus)) {
        pthread_join(worker.thread, nullptr);
        sem_destroy(&worker.coprocess);
        sem_destroy(&worker.mainprocess);
    }
    pthread_attr_destroy(&thread_attributes);
}

// ---- hand-offs

Stretch stretch_of(std::uint32_t thread) { return stretch_of(thread, to_coprocessors.count); }

// Up to where the next one begins: of a threshold of 1 the main thread has no item, which UPPER cannot say.
Stretch stretch_of(std::uint32_t thread, std::uint32_t n) {
    const std::uint32_t first = LOWER(n, processors, thread);
    return {first, thread + 1 >= processors ? n : std::max(first, LOWER(n, processors, thread + 1))};
}

bool post(Kernel kernel, void* work, std::size_t count) {
    to_coprocessors = {kernel, work, static_cast<std::uint32_t>(count), nullptr};
    handing_off = true;
    const int here = is_spacious ? sched_getcpu() : -1;
    for (CoprocessorRecord& worker : workers(processors)) {
        if (here >= 0 && worker.processor == here) keep_off(worker, here);
        worker.collected = false;
        sem_post(&worker.coprocess);
    }
    try {
        return kernel(work, 0);
    } catch (...) {
        call_for(calls::give_up, true);
        collect();
        call_for(calls::give_up, false);
        throw;
    }
}

bool collect() {
    bool complete = true;
    for (CoprocessorRecord& worker : workers(processors)) {
        if (!worker.collected) await(worker);
        worker.collected = true;
        complete &= worker.complete;
    }
    handing_off = false;
    return complete;
}

void raise_failure(Site site) {
    const auto all = workers(processors);
    const auto first = std::ranges::find(all, true, &CoprocessorRecord::failed);
    if (first == all.end()) return;
    if (first->error != 0) raise(first->error, site);
    heed_interrupt();
    throw Unwind{};  // for a reason that is gone
}

void leave_in_flight(DataElement* element, Finish finish) {
    to_coprocessors.element = element;
    finish_in_flight = finish;
    call_for(calls::hand_off, true);
}

void wait_for_coprocessors() {
    if (!is_in_flight()) return;
    const bool complete = collect();
    std::fflush(stdout);
    to_coprocessors.element = nullptr;
    call_for(calls::hand_off, false);
    finish_in_flight(complete ? Ending::complete : Ending::incomplete);
}

void forget_hand_off() {
    if (handing_off) {
        call_for(calls::give_up, true);
        collect();
        call_for(calls::give_up, false);
    }
    stop_sharing();
    if (!is_in_flight()) return;
    to_coprocessors.element = nullptr;
    call_for(calls::hand_off, false);
    finish_in_flight(Ending::forgotten);
}

}  // namespace ondrel
