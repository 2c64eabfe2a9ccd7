// How the frames run a verb's loops over bare values: in stretches, between which an interrupt is heeded, and, where
// there are many items, by all threads, each on its own part.
#pragma once

#include <algorithm>
#include <atomic>
#include <optional>
#include <utility>
#include <vector>

#include "data/walks.h"
#include "parallel/pool.h"
#include "verbs/scalar/items.h"

namespace ondrel {

// Runs `loop(done, out, n)`, which returns how many of the n items from `done` on it wrote to `out`, over all of them
// and returns how many it wrote. An interrupt may leave in between.
template <class Loop>
std::size_t in_stretches(std::byte* out, std::size_t width, std::size_t n, const Loop& loop) {
    for (std::size_t done = 0; done < n;) {
        const std::size_t stretch = std::min(n - done, heed_every);
        const std::size_t wrote = loop(done, out + done * width, stretch);
        done += wrote;
        if (wrote < stretch) return done;
        if (done < n) heed_attention();
    }
    return n;
}

// The loops work on words, but truths lie in bytes: such operands, and integer results, go through these words, so many
// items at a time. A result that has the form of a boolean, but is none, ends a loop as one of another kind does.
struct Words {
    static constexpr std::size_t capacity = 2048;
    std::uint64_t operands[2][capacity];
    std::int64_t results[capacity];
};
// The words, each 0 or `one`.
const std::byte* widen(const std::byte* bytes, std::uint64_t one, std::uint64_t* words, std::size_t n);
// Gives how many there are up to one that is no 0 or 1.
std::size_t narrow(const std::int64_t* words, std::byte* bytes, std::size_t n);

// Runs `run(done, out, n, words)` on stretches that fit the words, with narrowed results where `narrowed`. Not inlined,
// since the words must not lie on the native stack while nested values are computed.
template <class Run>
[[gnu::noinline]] std::size_t in_words(std::byte* out, std::size_t width, bool narrowed, std::size_t n,
                                       const Run& run) {
    Words words;
    for (std::size_t done = 0; done < n;) {
        const std::size_t k = std::min(Words::capacity, n - done);
        std::byte* const to = out + done * width;
        std::size_t wrote = run(done, narrowed ? reinterpret_cast<std::byte*>(words.results) : to, k, &words);
        if (narrowed) wrote = narrow(words.results, to, wrote);
        done += wrote;
        if (wrote < k) return done;
    }
    return n;
}

// A loop with all that it works on: `run(first, out, n, words)`, which has a setting of its own, writes the results of
// the n items from `first` on to `out`, and says of how many it did.
template <class Run>
struct BoundLoop {
    Run run;
    std::byte* results;
    std::size_t width;       // of a result
    bool widened, narrowed;  // operands, results go through words

    // How many items of the stretch were done.
    std::size_t over(Stretch stretch) const {
        return in_stretches(results + stretch.first * width, width, stretch.items(),
                            [&](std::size_t from, std::byte* out, std::size_t n) -> std::size_t {
                                const std::size_t first = stretch.first + from;
                                if (!narrowed && !widened) return run(first, out, n, nullptr);
                                return in_words(out, width, narrowed, n,
                                                [&](std::size_t at, std::byte* to, std::size_t k, Words* words) {
                                                    return run(first + at, to, k, words);
                                                });
                            });
    }
};

// Whether chance decided on any thread of the present hand-off.
extern std::atomic<bool> chance_decided;

// What all threads work on. It stays as long as the hand-off is in flight.
template <class Run>
struct PostedLoop {
    BoundLoop<Run> loop;
    std::size_t done;                        // by the main thread, from the first item on
    std::vector<std::int64_t> streams_were;  // of chance, by thread, where it may have to draw again

    static bool run_stretch(void* posted, std::uint32_t thread) {
        auto& streams = static_cast<PostedLoop*>(posted)->streams_were;
        if (!streams.empty()) streams[thread] = prngs_seed;
        BoundLoop<Run> own = static_cast<PostedLoop*>(posted)->loop;
        bool drew = false;
        own.run.setting = own.run.setting.on_this_thread(drew);
        Stretch stretch = stretch_of(thread);
        std::size_t& done_before = static_cast<PostedLoop*>(posted)->done;
        if (thread == 0) stretch.first = done_before;
        const std::size_t done = own.over(stretch);
        if (drew) chance_decided.store(true, std::memory_order_relaxed);
        if (thread == 0) done_before += done;
        return done == stretch.items();
    }
};

struct Done {
    std::size_t items;  // from the first on: all n, or fewer where the next one, or a later one, is of another kind
    bool is_posted = false;  // if the workers do their part of it
};

// Runs the loop over n items, by all threads where that is worth it. With `may_leave` the workers may be left at work.
// A loop that draws, but `may_stop`, has done nothing if it does: its draws are taken back, as each item has one.
template <class Run>
Done over_all(const BoundLoop<Run>& loop, std::size_t n, bool may_leave, bool may_stop) {
    const Setting& setting = loop.run.setting;
    const bool takes_back = may_stop && setting.stream != nullptr;
    if (!hands_off(n)) {
        const std::int64_t stream_was = takes_back ? *setting.stream : 0;
        const std::size_t done = loop.over({0, n});
        if (done == n || !takes_back) return {done};
        *setting.stream = stream_was;
        return {0};
    }
    std::size_t done = 0;
    if (setting.stream == nullptr) {  // who draws must not depend on time
        std::size_t tried = 0;
        const bool is_worth = is_worth_it(n, [&](std::size_t end) { done = loop.over({0, tried = end}); });
        if (done < tried) return {done};
        if (!is_worth) return {done + loop.over({done, n})};
    }
    static std::optional<PostedLoop<Run>> posted;
    posted.emplace(loop, done, std::vector<std::int64_t>(takes_back ? processors : 0));
    chance_decided = false;
    const bool complete = post(PostedLoop<Run>::run_stretch, &*posted, n);
    if (complete && may_leave && !takes_back) return {n, true};
    const bool all = collect() && complete;
    raise_failure(setting.site);
    if (!all && takes_back) {
        spread(n, setting.site, [&](std::uint32_t thread, Stretch) { prngs_seed = posted->streams_were[thread]; });
        return {0};
    }
    if (chance_decided && setting.drew != nullptr) *setting.drew = true;
    return {all ? n : posted->done};
}

struct LoopResult {
    void* block = nullptr;   // null: the items have to be looked at one by one
    bool is_posted = false;  // the workers are still at it
};

// The data block of n results by the loops of a verb for its operands' kinds. `head_of(tag)` is the head of a result,
// or 0; `reuse(head)` gives up an operand's block of that width to write into, or null; `bind(loop)` is the loop with
// its operands, some of them `widened`; `rest(items, done)` makes a block of items whose first are given, as many as
// are `done`.
template <class Rule, class HeadOf, class Reuse, class Bind, class Rest>
LoopResult by_loops(const Rule& rule, std::size_t n, bool widened, bool may_leave, const HeadOf& head_of,
                    const Reuse& reuse, const Bind& bind, const Rest& rest) {
    for (const auto& loop : rule.loops) {
        const std::uint64_t item = loop.tag == 0 ? 0 : head_of(loop.tag);
        if (item == 0) return {};
        const bool narrowed = loop.tag == tag::integer && loop.width > 1 && byte_head(item) != 0;
        const std::uint64_t head = narrowed || loop.width < item_width(item) ? byte_head(item) : item;
        if (head == 0) continue;  // for results of another form
        void* const reused = loop.whole && !narrowed ? reuse(head) : nullptr;
        OwnedBlock result(reused != nullptr ? reused : allocate_packed(head, n));
        void* const block = result.get();
        header(block).head = head;
        const auto [done, is_posted] = over_all(
            BoundLoop{bind(loop), static_cast<std::byte*>(block), item_width(head), widened, narrowed}, n, may_leave,
            !loop.whole || narrowed);
        if (done == n) return {result.release(), is_posted};
        if (done == 0 || rule.loops[1].whole) continue;  // which writes all anew
        return {rest(block, done)};
    }
    return {};
}

}  // namespace ondrel
