// How near the mathematical verbs come to the truth. The files accuracy/*.txt hold sections of sentences with reference
// values of 30 digits (accuracy/make.py makes them). Each sentence runs by itself, for its error; then the section runs
// once more as arrays, which must give the same bits. The worst errors are printed as the table of docs/accuracy.md.
//
// Errors are counted in ulps, units in the last place of a double at the reference value, and are measured to about
// 0.0005 ulp. A complex result has two:
// - of the number: the greater error of its components, in ulps of its magnitude. This is what is felt further on.
// - of a component: in ulps of the component itself, but of no less than magnitude * 2^-53.
// For a real result both are the same. Infinities, NaN and a true zero must come as they are; a zero's sign may differ.
#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <limits>
#include <map>
#include <sstream>
#include <string>
#include <vector>

#include "tests/evaluator.h"
#include "tests/values.h"

namespace ondrel {
namespace {

static_assert(std::numeric_limits<long double>::digits >= 64, "references need more bits than the results");

struct Ulps {
    long double number, component;
};

// What a row of the table may come to; docs/accuracy.md says why these few exceed the usual.
constexpr Ulps usual{0.505L, 0.505L};
const std::map<std::string, Ulps> bounds = {
    {"BINOMIAL, complex", {0.55L, 10}},
    {"BINOMIAL, real", {0.8L, 0.8L}},
    {"BINOMIAL, real beside a pole", {2.5e6L, 2.5e6L}},
    {"FACTORIAL, complex", {0.6L, 10}},
    {"FACTORIAL, complex far out", {500, 1.2e5L}},
    {"FACTORIAL, real", {0.7L, 0.7L}},
    {"FACTORIAL, real from 0.5 up to 1", {1.2e7L, 1.2e7L}},
    {"POWER, complex", {0.52L, 1.5L}},
    {"POWER, complex far out", {170, 6000}},
};

// A number of one or two components.
using Components = std::vector<long double>;

struct Point {
    std::vector<std::string> words;  // the operands, and the verb
    Components reference;

    std::string sentence() const {
        std::string text;
        for (const std::string& word : words) text += (text.empty() ? "" : " ") + word;
        return text;
    }
};

struct Section {
    std::string heading;  // verb and selector, operands: what the points are
    std::vector<Point> points{};

    // The row of the table in which it counts: CIRCULAR has one for all its functions.
    std::string row() const {
        const std::size_t comma = heading.find(',');
        return heading.substr(0, heading.find_first_of(" ,")) + heading.substr(comma, heading.find(':') - comma);
    }
};

// The worst of a row so far, and where.
struct Row {
    std::size_t points = 0;
    Ulps worst{};
    std::string at_number{}, at_component{};

    void take(const Ulps& error, const std::string& sentence) {
        ++points;
        if (error.number > worst.number) worst.number = error.number, at_number = sentence;
        if (error.component > worst.component) worst.component = error.component, at_component = sentence;
    }
};

void read_sections(const std::filesystem::path& path, std::vector<Section>& sections) {
    std::ifstream file(path);
    for (std::string line; std::getline(file, line);) {
        if (line.starts_with("## ")) {
            sections.push_back({.heading = line.substr(3)});
            continue;
        }
        Point point;
        std::istringstream words(line);
        for (std::string word; words >> word && word != "=";) point.words.push_back(word);
        for (std::string word; words >> word;) point.reference.push_back(std::strtold(word.c_str(), nullptr));
        ASSERT_FALSE(sections.empty() || point.reference.empty()) << path << ": " << line;
        sections.back().points.push_back(point);
    }
}

// The items of the single value that a sentence gives; none if it leaves anything else. The value lies below a 0, since
// showing it would narrow it and lose the sign of a zero.
std::vector<Components> evaluate(Evaluator& evaluator, const std::string& sentence) {
    evaluator.run(sentence + " 0 .");
    std::vector<Components> found;
    if (evaluator.height() == 2)
        for (const Item& item : read(evaluator.sp[-1]).items) {
            const auto count = static_cast<std::ptrdiff_t>(component_count(item.tag));
            found.emplace_back(item.parts.begin(), item.parts.begin() + count);
            if (item.tag == tag::integer) found.back() = {static_cast<long double>(item.integer)};
        }
    evaluator.clear();
    return found;
}

// The section as one sentence on arrays. Integers are written as reals, so that an array of reals has no other kind in
// it; an operand that is the same at all points stands once.
std::string on_arrays(const std::vector<Point>& points) {
    const std::size_t operands = points[0].words.size() - 1;
    std::string sentence;
    for (std::size_t i = 0; i < operands; ++i) {
        const std::string& first = points[0].words[i];
        if (std::all_of(points.begin(), points.end(), [&](const Point& point) { return point.words[i] == first; })) {
            sentence += first + " ";
            continue;
        }
        sentence += "(";
        for (const Point& point : points) {
            const bool whole = point.words[i].find_first_not_of("-0123456789") == std::string::npos;
            sentence += " " + point.words[i] + (whole ? ".0" : "");
        }
        sentence += " ) ";
    }
    return sentence + points[0].words[operands];
}

bool same(const Components& a, const Components& b) {
    return std::equal(a.begin(), a.end(), b.begin(), b.end(), [](long double x, long double y) {
        return (x == y && std::signbit(x) == std::signbit(y)) || (std::isnan(x) && std::isnan(y));
    });
}

long double ulp(long double x) {
    int exponent;
    std::frexp(x, &exponent);
    return std::ldexp(1.0L, std::max(exponent - 53, -1074));
}

Ulps error(const Components& result, const Components& reference) {
    constexpr long double infinite = std::numeric_limits<long double>::infinity();
    if (result.size() != reference.size()) return {infinite, infinite};
    long double magnitude = 0;
    for (const long double part : reference)
        if (std::isfinite(part)) magnitude = std::hypot(magnitude, part);
    Ulps worst{};
    for (std::size_t i = 0; i < result.size(); ++i) {
        const long double truth = reference[i], difference = std::fabs(result[i] - truth);
        if (result[i] == truth || (std::isnan(result[i]) && std::isnan(truth))) continue;
        if (!std::isfinite(difference) || magnitude == 0) return {infinite, infinite};
        worst.number = std::max(worst.number, difference / ulp(magnitude));
        worst.component =
            std::max(worst.component, difference / ulp(std::max(std::fabs(truth), std::ldexp(magnitude, -53))));
    }
    return worst;
}

TEST(Accuracy, StaysWithinBoundsForNumbersAndArraysAlike) {
    std::vector<Section> sections;
    for (const auto& entry : std::filesystem::directory_iterator(ONDREL_ACCURACY))
        if (entry.path().extension() == ".txt") read_sections(entry.path(), sections);

    Evaluator evaluator;
    std::map<std::string, Row> rows;
    for (const Section& section : sections) {
        EXPECT_GE(section.points.size(), 40U) << section.heading;
        const std::vector<Components> together = evaluate(evaluator, on_arrays(section.points));
        ASSERT_EQ(together.size(), section.points.size()) << section.heading;
        for (std::size_t i = 0; i < together.size(); ++i) {
            const std::string sentence = section.points[i].sentence();
            const std::vector<Components> alone = evaluate(evaluator, sentence);
            ASSERT_EQ(alone.size(), 1U) << sentence;
            EXPECT_TRUE(same(alone[0], together[i])) << sentence << " in an array";
            rows[section.row()].take(error(alone[0], section.points[i].reference), sentence);
        }
    }

    std::puts("| Verb, operands | Points | Number | at | Component | at |\n|---|---|---|---|---|---|");
    for (const auto& [name, row] : rows) {
        std::printf("| %s | %zu | %.3Lg | `%s` | %.3Lg | `%s` |\n", name.c_str(), row.points, row.worst.number,
                    row.at_number.c_str(), row.worst.component, row.at_component.c_str());
        const auto found = bounds.find(name);
        const Ulps& bound = found == bounds.end() ? usual : found->second;
        EXPECT_LE(row.worst.number, bound.number) << name << ": " << row.at_number;
        EXPECT_LE(row.worst.component, bound.component) << name << ": " << row.at_component;
    }
    for (const auto& [name, bound] : bounds) EXPECT_TRUE(rows.contains(name)) << name;
}

}  // namespace
}  // namespace ondrel
