// Whole-array work: a sentence on one thread and on two, beside a plain loop. The names are those of the element-wise
// rows.
#include <algorithm>
#include <numeric>
#include <string>
#include <vector>

#include "bench/stream.h"

namespace ondrel {
namespace {

constexpr std::int64_t side = 1000;  // of the matrices
using Reals = std::vector<double>;

template <class Value>
std::vector<Value> two_in_turn(std::int64_t n, Value first, Value second) {
    std::vector<Value> made(static_cast<std::size_t>(n), first);
    for (std::size_t i = 1; i < made.size(); i += 2) made[i] = second;
    return made;
}

// Measures `work(from, to)`, which fills the second vector from the first.
template <class Work>
void plain(benchmark::State& state, std::int64_t results, const Work& work) {
    const Reals from = two_in_turn(state.range(0), 1.5, 2.25);
    Reals to(static_cast<std::size_t>(results));
    for (auto _ : state) {
        work(from, to);
        benchmark::DoNotOptimize(to.data());
        benchmark::ClobberMemory();
    }
    state.SetItemsProcessed(state.iterations() * state.range(0));
}

void sum_of_each_row(benchmark::State& state) {
    plain(state, side, [](const Reals& from, Reals& to) {
        for (std::size_t row = 0; row < side; ++row)
            to[row] = std::accumulate(from.begin() + static_cast<std::ptrdiff_t>(row * side),
                                      from.begin() + static_cast<std::ptrdiff_t>((row + 1) * side), 0.0);
    });
}
void sum_of_rows(benchmark::State& state) {
    plain(state, side, [](const Reals& from, Reals& to) {
        std::ranges::fill(to, 0);
        for (std::size_t i = 0; i < from.size(); i += side)
            for (std::size_t k = 0; k < side; ++k) to[k] += from[i + k];
    });
}
void largest_of_rows(benchmark::State& state) {
    plain(state, side, [](const Reals& from, Reals& to) {
        std::copy_n(from.begin(), side, to.begin());
        for (std::size_t i = side; i < from.size(); i += side)
            for (std::size_t k = 0; k < side; ++k) to[k] = to[k] > from[i + k] ? to[k] : from[i + k];
    });
}
void transposed(benchmark::State& state) {
    plain(state, state.range(0), [](const Reals& from, Reals& to) {
        for (std::size_t row = 0; row < side; ++row)
            for (std::size_t k = 0; k < side; ++k) to[k * side + row] = from[row * side + k];
    });
}
void reversed(benchmark::State& state) {
    plain(state, state.range(0), [](const Reals& from, Reals& to) { std::ranges::reverse_copy(from, to.begin()); });
}
void joined(benchmark::State& state) {
    plain(state, 2 * state.range(0),
          [](const Reals& from, Reals& to) { std::ranges::copy(from, std::ranges::copy(from, to.begin()).out); });
}
void repeated(benchmark::State& state) {
    plain(state, state.range(0), [](const Reals& from, Reals& to) {
        for (std::size_t i = 0; i < to.size(); ++i) to[i] = from[i % 3];
    });
}
void chosen(benchmark::State& state) {
    const std::vector<std::uint8_t> mask = two_in_turn<std::uint8_t>(state.range(0), 1, 0);
    plain(state, state.range(0) / 2 + 1, [&](const Reals& from, Reals& to) {
        std::size_t n = 0;
        for (std::size_t i = 0; i < from.size(); ++i)
            if (mask[i] != 0) to[n++] = from[i];
    });
}
void enlisted(benchmark::State& state) {
    const std::vector<Reals> nest(static_cast<std::size_t>(state.range(0)), Reals{1.5, 2.25});
    plain(state, 2 * state.range(0), [&](const Reals&, Reals& to) {
        auto at = to.begin();
        for (const Reals& pair : nest) at = std::ranges::copy(pair, at).out;
    });
}
void smoothed(benchmark::State& state) {
    plain(state, state.range(0), [](const Reals& from, Reals& to) {
        for (std::size_t i = 1; i + 1 < from.size(); ++i)
            to[i] = 0.25 * from[i - 1] + 0.5 * from[i] + 0.25 * from[i + 1];
    });
}
void all_true(benchmark::State& state) {
    const std::vector<std::uint8_t> truths(static_cast<std::size_t>(state.range(0)), 1);
    for (auto _ : state)
        benchmark::DoNotOptimize(std::accumulate(truths.begin(), truths.end(), std::uint8_t{1}, std::bit_and<>{}));
    state.SetItemsProcessed(state.iterations() * state.range(0));
}
// As many calls of the same function in a LOOP, which EACH is to be near.
void calls_in_a_loop(benchmark::State& state) {
    measure(state, 1, std::to_string(state.range(0)) + " MONADIC 3 * 1 + POP ; LOOP .", state.range(0));
}

struct Row {
    const char* name;
    std::int64_t items;
    const char* sentence;
    void (*limit)(benchmark::State&);
    const char* before = "";  // run once
};
const Row rows[] = {
    {"all of truths", 1000000, "truths ALL .", all_true, "(1 1)[1000000] 1 = @truths SET ."},
    {"all of many truths", 10000000, "many ALL .", all_true, "(1 1)[10000000] 1 = @many SET ."},
    {"sums of each row", side* side, "(1.5 2.25)[1000 1000] SUM .", sum_of_each_row},
    {"sum of rows", side* side, "(1.5 2.25)[1000 1000] SUMROWS .", sum_of_rows},
    {"integer sums of each row", side* side, "(1 2)[1000 1000] SUM .", sum_of_each_row},
    {"integer sum of rows", side* side, "(1 2)[1000 1000] SUMROWS .", sum_of_rows},
    {"largest of rows", side* side, "(1.5 2.25)[1000 1000] LARGESTROW .", largest_of_rows},
    {"transposition", side* side, "(1.5 2.25)[1000 1000] TRANSPOSE .", transposed},
    {"reversal", 1000000, "(1.5 2.25)[1000000] REVERSE .", reversed},
    {"catenation", 1000000, "(1.5 2.25)[1000000] (1.5 2.25)[1000000] CATENATE .", joined},
    {"repetition to a shape", 1000000, "(1.5 2.25 3.5) (1000 1000) RESHAPE .", repeated},
    {"choice by a mask", 1000000, "(1.5 2.25)[1000000] (1 0)[1000000] COMPRESS .", chosen},
    {"enlisting of pairs", 100000, "((1.5 2.25) (2.25 1.5))[100000] ENLIST .", enlisted},
    {"EACH, to a LOOP", 100000, "(1 2)[100000] MONADIC 3 * 1 + ; EACH .", calls_in_a_loop},
    {"MASK of three points", 100000, "(1.5 2.25)[100000] (0.25 0.5 0.25) MONADIC SUM ; MASK .", smoothed},
};

const bool registered = [] {
    for (const Row& row : rows) {
        const auto sentence = [&row](benchmark::State& state, std::uint32_t threads) {
            if (*row.before != '\0') Stream(row.before).run();
            measure(state, threads, row.sentence, row.items);
        };
        add_row(row.name, row.items, sentence, row.limit);
    }
    return true;
}();

}  // namespace
}  // namespace ondrel
