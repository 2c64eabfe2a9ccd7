// The interpreter's own path: cells, tokens, literals, printed numbers.
#include <benchmark/benchmark.h>

#include <cstdio>
#include <string>
#include <vector>

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
            if (fill(buffer, &variables, nullptr, &position) > 0) cleanup(buffer);
    }
    state.SetItemsProcessed(state.iterations() * items);
}

void tokens(benchmark::State& state) { translate(state, repeated("+ DUP RESHAPE MAX 2 - ", 160) + ".\n", 160 * 6); }
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

// Steps of a program, which must give the right answer. The same programs stand in peers.py and peers.lua.
void steps(benchmark::State& state, const char* definition, const char* sentence, std::int64_t answer,
           std::int64_t count) {
    Stream(definition).run();
    Stream program(sentence);
    for (auto _ : state)
        if (program.run() != answer) state.SkipWithError("a wrong answer");
    state.SetItemsProcessed(state.iterations() * count);
}
BENCHMARK_CAPTURE(steps, loop, ".", "0 1000000 DYADIC + ; LOOP .", 500000500000, 1000000)
    ->Name("ours/addition in a loop");
BENCHMARK_CAPTURE(steps, call, "DYADIC + ; OPERATOR @f SET .", "0 1000000 DYADIC f ; LOOP .", 500000500000, 1000000)
    ->Name("ours/call of a function in a loop");
BENCHMARK_CAPTURE(steps, fib, "MONADIC DUP 1 - CHECK RETURN ?N DUP 1 - fib SWAP 2 - fib + ; OPERATOR @fib SET .",
                  "24 fib .", 46368, 150049)
    ->Name("ours/call of fib");

// A source text that makes a hundred thousand names and reads each, sentence by sentence, and their end.
void names(benchmark::State& state) {
    constexpr int count = 100000, in_a_sentence = 100;
    std::vector<std::string> sentences(count / in_a_sentence);
    for (int i = 0; i < count; ++i) {
        const std::string name = "n" + std::to_string(i);
        sentences[static_cast<std::size_t>(i / in_a_sentence)] +=
            std::to_string(i) + " @" + name + " SET " + name + " POP\n";
    }
    for (std::string& sentence : sentences) sentence += "1 .";
    for (auto _ : state) {
        for (const std::string& sentence : sentences)
            if (Stream(sentence).run() != 1) state.SkipWithError("a wrong answer");
        hashwipe(variables.table);
    }
    state.SetItemsProcessed(state.iterations() * count);
}
BENCHMARK(names)->Name("ours/name made and read");

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
