// Values and texts to files and back, against loops over the plain conversions of the standard library.
#include <benchmark/benchmark.h>

#include <charconv>
#include <cmath>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <memory>
#include <string>
#include <vector>

#include "bench/stream.h"

namespace ondrel {
namespace {

constexpr std::int64_t numbers = 1000000, characters = 10000000;

// The process works in a folder of its own, which goes with it: programs reach no other.
struct Folder {
    std::string path = std::filesystem::temp_directory_path() / "ondrel-XXXXXX";
    Folder() {
        if (mkdtemp(path.data()) == nullptr || (std::filesystem::current_path(path), false)) std::abort();
    }
    ~Folder() { std::filesystem::remove_all(path); }
};

// Runs the first sentence once in all, before the others.
void prepare(const char* sentence) {
    static const Folder folder;
    Stream(sentence).run();
}

struct Close {
    void operator()(std::FILE* stream) const { std::fclose(stream); }
};
using File = std::unique_ptr<std::FILE, Close>;

std::string all_of(const char* path) {
    std::string text(std::filesystem::file_size(path), '\0');
    const File file(std::fopen(path, "r"));
    if (std::fread(text.data(), 1, text.size(), file.get()) != text.size()) std::abort();
    return text;
}

template <class Number>
std::vector<Number> some_numbers() {
    std::vector<Number> made;
    for (std::int64_t i = 1; i <= numbers; ++i)
        made.push_back(std::is_integral_v<Number> ? static_cast<Number>(i * 7)
                                                  : static_cast<Number>(std::sqrt(static_cast<double>(i))));
    return made;
}

template <class Number>
void write_plainly(const std::vector<Number>& values, const char* path) {
    const File file(std::fopen(path, "w"));
    for (const Number value : values) {
        char text[32] = " ";
        std::to_chars_result end;
        if constexpr (std::is_integral_v<Number>)
            end = std::to_chars(text + 1, std::end(text), value);
        else
            end = std::to_chars(text + 1, std::end(text), value, std::chars_format::general, 17);
        std::fwrite(text, 1, static_cast<std::size_t>(end.ptr - text), file.get());
    }
}

template <class Number>
void plain_writing(benchmark::State& state) {
    prepare("1 POP .");
    const std::vector<Number> values = some_numbers<Number>();
    for (auto _ : state) write_plainly(values, "plain");
    state.SetItemsProcessed(state.iterations() * numbers);
}

template <class Number>
void plain_reading(benchmark::State& state) {
    prepare("1 POP .");
    write_plainly(some_numbers<Number>(), "plain");
    for (auto _ : state) {
        const std::string text = all_of("plain");
        std::vector<Number> values;
        for (const char* at = text.data(); at != text.data() + text.size();) {
            Number value{};
            at = std::from_chars(at + 1, text.data() + text.size(), value).ptr;
            values.push_back(value);
        }
        benchmark::DoNotOptimize(values.data());
    }
    state.SetItemsProcessed(state.iterations() * numbers);
}

void plain_text_writing(benchmark::State& state) {
    prepare("1 POP .");
    const std::string text(characters, 'x');
    for (auto _ : state) {
        const File file(std::fopen("plain", "w"));
        std::fwrite(text.data(), 1, text.size(), file.get());
    }
    state.SetItemsProcessed(state.iterations() * characters);
}

void plain_text_reading(benchmark::State& state) {
    prepare("'x'[10000000] 'plain' TEXTWRITE POP .");
    for (auto _ : state) benchmark::DoNotOptimize(all_of("plain").data());
    state.SetItemsProcessed(state.iterations() * characters);
}

struct Row {
    const char *name, *before, *sentence;
    std::int64_t items;
    void (*limit)(benchmark::State&);
};
const Row rows[]{
    {"writing of reals", "1000000 INTERVAL SQRT @numbers SET .", "numbers 'file' WRITE POP .", numbers,
     plain_writing<double>},
    {"reading of reals", "1000000 INTERVAL SQRT 'file' WRITE POP .", "'file' READ POP .", numbers,
     plain_reading<double>},
    {"writing of integers", "1000000 INTERVAL 7 * @numbers SET .", "numbers 'file' WRITE POP .", numbers,
     plain_writing<std::int64_t>},
    {"reading of integers", "1000000 INTERVAL 7 * 'file' WRITE POP .", "'file' READ POP .", numbers,
     plain_reading<std::int64_t>},
    {"writing of a text", "'x'[10000000] @text SET .", "text 'file' TEXTWRITE POP .", characters, plain_text_writing},
    {"reading of a text", "'x'[10000000] 'file' TEXTWRITE POP .", "'file' TEXTREAD POP .", characters,
     plain_text_reading},
};

const bool added = [] {
    for (const Row& row : rows)
        add_row(
            row.name, row.items,
            [&row](benchmark::State& state, std::uint32_t threads) {
                prepare(row.before);
                measure(state, threads, row.sentence, row.items);
            },
            row.limit);
    return true;
}();

// A workspace of so many names, each with an integer.
constexpr std::int64_t names = 10000;

void workspace(benchmark::State& state, const char* sentence) {
    prepare("WIPE .");
    for (std::int64_t i = 0; i < names; ++i) Stream(std::to_string(i) + " @name" + std::to_string(i) + " SET .").run();
    Stream("'workspace' SAVE .").run();
    Stream stream(sentence);
    for (auto _ : state) stream.run();
    state.SetItemsProcessed(state.iterations() * names);
    Stream("WIPE .").run();
}
BENCHMARK_CAPTURE(workspace, save, "'workspace' SAVE .")->Name("ours/name saved, of 10,000");
BENCHMARK_CAPTURE(workspace, load, "'workspace' LOAD .")->Name("ours/name loaded, of 10,000");

}  // namespace
}  // namespace ondrel
