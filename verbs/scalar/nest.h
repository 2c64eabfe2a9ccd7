// What both frames need around the items: records of results, nested values, the loops, and how often to look up.
#pragma once

#include <algorithm>
#include <utility>

#include "data/blocks.h"

namespace ondrel {

// Items between two looks at `attention`: some tenths of a millisecond of work.
inline constexpr std::size_t heed_every = std::size_t{1} << 16;

// A record of the giver's shape with the finished block; takes the block over, and a reference on the shape.
DataElement result_record(const DataElement& giver, void* data, std::uint32_t probable);

// The value that an item stands for, with references of its own: the nested one, or a scalar of it.
DataElement value_of_item(const DataElement& item);

// Runs `loop(done, out, n)`, which returns how many of the n items from `done` on it wrote to `out`, over all of them
// and returns how many it wrote. Where the result is a block of its own an interrupt may leave in between; an operand
// that is being overwritten is finished first.
template <class Loop>
std::size_t in_stretches(void* block, std::size_t width, std::size_t n, bool in_place, const Loop& loop) {
    for (std::size_t done = 0; done < n;) {
        const std::size_t stretch = std::min(n - done, heed_every);
        const std::size_t wrote = loop(done, static_cast<std::byte*>(block) + done * width, stretch);
        done += wrote;
        if (wrote < stretch) return done;
        if (!in_place) heed_attention();
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

// The data block of n results by the loops of a verb for its operands' kinds, or null if the items have to be looked at
// one by one. `head_of(tag)` is the head of a result, or 0; `reuse(head)` gives up an operand's block of that width to
// write into, or null; `run(loop, done, out, n, words)` is as above, with words where operands are `widened`;
// `rest(items)` fills the items of a result behind those that it has.
template <class Rule, class HeadOf, class Reuse, class Run, class Rest>
void* by_loops(const Rule& rule, std::size_t n, bool widened, const HeadOf& head_of, const Reuse& reuse, const Run& run,
               const Rest& rest) {
    for (const auto& loop : rule.loops) {
        const std::uint64_t item = loop.tag == 0 ? 0 : head_of(loop.tag);
        if (item == 0) return nullptr;
        const bool narrowed = loop.tag == tag::integer && loop.width > 1 && byte_head(item) != 0;
        const std::uint64_t head = narrowed || loop.width < item_width(item) ? byte_head(item) : item;
        if (head == 0) continue;  // for results of another form
        const std::size_t width = item_width(head);
        void* const reused = loop.whole && !narrowed ? reuse(head) : nullptr;
        Owner result;  // of no rank: only its block counts
        result.record.data_pointer = reused != nullptr ? reused : allocate_packed(head, n);
        void* const block = result.record.data_pointer;
        const std::size_t done = in_stretches(
            block, width, n, reused != nullptr, [&](std::size_t from, std::byte* out, std::size_t k) -> std::size_t {
                if (!narrowed && !widened) return run(loop, from, out, k, nullptr);
                return in_words(out, width, narrowed, k,
                                [&](std::size_t at, std::byte* to, std::size_t m, Words* words) {
                                    return run(loop, from + at, to, m, words);
                                });
            });
        header(block).head = head;
        if (done == n) return std::exchange(result.record.data_pointer, nullptr);
        if (done == 0 || rule.loops[1].whole) continue;  // which writes all anew

        // Items of another kind follow: what stands becomes items, and the rest is done one by one.
        ItemsOwner items(n);
        for (; items.filled < done; ++items.filled) items.items[items.filled] = own_item(item_at(block, items.filled));
        rest(items);
        return items.take();
    }
    return nullptr;
}

}  // namespace ondrel
