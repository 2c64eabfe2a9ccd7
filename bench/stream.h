// A translated sentence that can be run again and again, as a loop of the language would run it.
#pragma once

#include <benchmark/benchmark.h>

#include <functional>
#include <string>
#include <string_view>

#include "data/dataelement.h"
#include "translator/scanner.h"

namespace ondrel {

// Builds the tables that the translator needs, and starts a worker, which is not used as long as `processors` is 1;
// once.
void start_interpreter();

struct Stream {
    DataElement cells[sentence_cells];
    int count;

    // Translates the first sentence of the text.
    explicit Stream(std::string_view text);
    ~Stream();
    Stream(const Stream&) = delete;
    Stream& operator=(const Stream&) = delete;

    // Runs the cells on an empty stack and drops what they leave; the result is the integer that was on top, or 0.
    std::int64_t run();
};

// Puts down a row of so many items: the work by one thread and by two, and what it is held against.
void add_row(const std::string& name, std::int64_t items,
             const std::function<void(benchmark::State&, std::uint32_t threads)>& ours,
             void (*limit)(benchmark::State&));

// Measures the sentence, run on so many threads; what it leaves is dropped. Times are those of `items` items.
void measure(benchmark::State& state, std::uint32_t threads, std::string_view sentence, std::int64_t items);

}  // namespace ondrel
