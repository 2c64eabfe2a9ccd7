// The interpreter's own path: cells, tokens, literals, printed numbers.
#include <benchmark/benchmark.h>

#include <cstdio>
#include <string>

#include "bench/stream.h"
#include "translator/printing.h"

namespace ondrel {
namespace {

std::string repeated(const std::string& text, int times) {
    std::string all;
    for (int i = 0; i < times; ++i) all += text;
    return all;
}

// 1000 cells of scalar work: a literal and a sum in turn.
void cells(benchmark::State& state) {
    Stream stream("1 " + repeated("2 + ", 499) + ".");
    for (auto _ : state) stream.run();
    state.SetItemsProcessed(state.iterations() * (stream.count - 1));
}
BENCHMARK(cells)->Name("ours/cell run");

// The cost of a text, item by item: sentences are translated and given back.
void translate(benchmark::State& state, const std::string& sentence, std::int64_t items) {
    start_interpreter();
    static DataElement buffer[sentence_cells];
    for (auto _ : state) {
        const char* position = sentence.c_str();
        while (*position != '\0')
            if (fill(buffer, nullptr, &position, false) > 0) cleanup(buffer);
    }
    state.SetItemsProcessed(state.iterations() * items);
}

void tokens(benchmark::State& state) {
    translate(state, repeated("+ DUP RESHAPE MAX 2 - ", 160) + ".\n", 160 * 6);
}
BENCHMARK(tokens)->Name("ours/token translated");

void scalar_literals(benchmark::State& state) {
    translate(state, repeated(repeated("12345 ", 1000) + ".\n", 100), 100000);
}
BENCHMARK(scalar_literals)->Name("ours/integer literal, alone");

void vector_literal(benchmark::State& state, const std::string& number) {
    translate(state, "(" + repeated(number, 100000) + ").\n", 100000);
}
BENCHMARK_CAPTURE(vector_literal, integers, "12345 ")->Name("ours/integer literal, in a vector");
BENCHMARK_CAPTURE(vector_literal, reals, "3.14159265 ")->Name("ours/real literal, in a vector");

void print(benchmark::State& state) {
    std::string text = "(";
    for (int i = 0; i < 100000; ++i) text += std::to_string(i * 0.0137 + 1.0 / (i + 3)) + " ";
    Stream stream(text + ").");
    std::FILE* const file = std::tmpfile();
    for (auto _ : state) {
        std::rewind(file);
        dump(file, "", stream.cells[0]);
    }
    std::fclose(file);
    state.SetItemsProcessed(state.iterations() * 100000);
}
BENCHMARK(print)->Name("ours/real printed");

}  // namespace
}  // namespace ondrel

BENCHMARK_MAIN();
