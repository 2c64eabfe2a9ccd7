// The pool: worker threads that sleep until the main thread hands a large array out. Each thread, the main one too,
// works on one stretch of the items (split.h). At most one hand-off is under way at any time.
//
// A hand-off is collected at once, or it is left in flight: then the main thread, when its own stretch is done, goes on
// to the next instructions while the workers finish a value that lies on the stack already. Whoever reads, moves or
// releases that value calls `wait_for_coprocessors` before.
//
// Only the main thread publishes work, and only while all workers sleep; so the semaphores are all the order that is
// needed. A worker raises as any verb does, but it reports nothing: what it raises ends its own stretch, and the main
// thread raises it again when it has collected.
#pragma once

#include <pthread.h>
#include <semaphore.h>

#include <chrono>
#include <cstddef>
#include <cstdint>
#include <memory>

#include "data/allocator.h"
#include "data/errors.h"
#include "parallel/split.h"

namespace ondrel {

extern std::uint32_t cpus;                  // the most threads that may take part: as many as there are
extern std::int32_t thrds;                  // of a processor
inline constexpr long most_threads = 1024;  // more workers than any machine has use for

// The work of one thread, by its number. False if it stopped before the end of its stretch, because what follows has to
// be done in another way.
using Kernel = bool (*)(void* work, std::uint32_t thread);

// What the main thread publishes.
struct ToCoprocessors {
    Kernel kernel = nullptr;  // null: the worker is to end
    void* work = nullptr;
    std::uint32_t count = 0;         // items in all
    DataElement* element = nullptr;  // the slot of the result that is in flight
};
extern ToCoprocessors to_coprocessors;

// What a thread has of its own, apart from the others' cache lines.
struct alignas(64) CoprocessorRecord {
    bool collected = true;         // no hand-off is outstanding; written by the main thread
    bool complete = true;          // the stretch is done
    bool failed = false;           // it was left by an error or an interrupt
    int error = 0;                 // the number, or 0 for an interrupt
    double total_flops = 0;        // floating-point operations since the start: an estimate
    sem_t coprocess, mainprocess;  // wakes the worker; tells that it has done
    bool kept_off = false;         // a processor, by the main thread
    int processor = -1;            // that the worker last ran on
    pthread_t thread;
};
extern std::unique_ptr<CoprocessorRecord[]> from_coprocessor;  // by number of the thread; `cpus` of them

// ---- the life of the pool

// Turns the `processors` that were asked for, 0 if none were, into threads: the main one, and `thrds` for each.
void size_pool();

// Starts the workers, with native stacks of so many bytes; each prepares itself, by its number, before it sleeps. They
// take no signals. Where a thread cannot be started the pool ends before it, which is told unless quiet.
void start_pool(std::size_t stack_bytes, void (*prepare)(std::uint32_t thread), bool quiet);

// Ends the workers and waits for them.
void stop_pool();

// ---- hand-offs

// Whether work on so many items is handed out. Not from within a hand-off, on whatever thread.
extern bool handing_off;
inline bool is_large(std::size_t n) {
    return static_cast<std::int64_t>(n) > MIN_PARALLEL && processors > 1 && n >= processors;
}
inline bool hands_off(std::size_t n) { return is_large(n) && !handing_off; }

// A hand-off takes tens of microseconds. Work that would take one thread no more than this, in seconds, stays on it.
// What comes out must not show who did it: the clock decides here.
extern double shortest_work;

// Whether work on n items, of which the first are done by `run(end)` as a trial, is worth a hand-off. Work that is
// split into very small parts is not tried.
template <class Run>
bool is_worth_it(std::size_t n, const Run& run) {
    constexpr std::size_t trial = 1000;
    if (n <= trial || LOWER(static_cast<std::uint32_t>(n), processors, 1) < trial) return true;
    using Clock = std::chrono::steady_clock;
    const auto begin = Clock::now();
    run(trial);
    const std::chrono::duration<double> taken = Clock::now() - begin;
    return taken.count() * static_cast<double>(n / trial) > shortest_work;
}

// Runs the kernel on all threads, and comes back with what it says on the main one. Where that raises, the workers are
// collected first. Nothing must be under way.
bool post(Kernel kernel, void* work, std::size_t count);

// Waits for the workers. True if all of them are `complete`. Raises nothing.
bool collect();

// Raises what the first of the workers that failed has raised.
void raise_failure(Site site);

// Leaves what has been posted in flight, with its result in the slot. Once it has been collected `finish` is told
// whether all stretches are complete; it may raise where they are not. Or that nobody wants it any more.
enum class Ending { complete, incomplete, forgotten };
using Finish = void (*)(Ending ending);
void leave_in_flight(DataElement* element, Finish finish);

inline bool is_in_flight() { return to_coprocessors.element != nullptr; }

// Where work has been left by a road that no hand-off expects: the workers are collected, and what they were at is
// given up. Raises nothing.
void forget_hand_off();

// The items of a thread's stretch of what has been published: from `first` up to, but not with, `end`.
struct Stretch {
    std::size_t first, end;
    std::size_t items() const { return end - first; }
};
Stretch stretch_of(std::uint32_t thread);
// The same of n items that are not published.
Stretch stretch_of(std::uint32_t thread, std::uint32_t n);

// Runs work(thread, stretch) on all threads, for n items, and collects. Meanwhile they may all count and allocate
// blocks. Raises what the first thread that failed has raised.
template <class Work>
void spread(std::size_t n, Site site, const Work& work) {
    const Sharing sharing;
    const Kernel kernel = [](void* published, std::uint32_t thread) {
        (*static_cast<const Work*>(published))(thread, stretch_of(thread));
        return true;
    };
    post(kernel, const_cast<Work*>(&work), n);
    collect();
    raise_failure(site);
}

}  // namespace ondrel
