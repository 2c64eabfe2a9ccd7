// Element-wise work: our sentence `a b verb`, run by the machine over literal cells on one thread and on two, beside a
// plain loop over vectors as the limit. The names are "ours", "two" or "plain", the work, the number of items; NumPy's
// rows carry the same.
#include <benchmark/benchmark.h>

#include <cmath>
#include <functional>
#include <numeric>
#include <string>
#include <vector>

#include "bench/stream.h"
#include "numbers/algebra.h"
#include "numbers/random.h"
#include "parallel/pool.h"

namespace ondrel {
namespace {

std::string both(const std::string& value, std::int64_t n) { return "(" + value + ")[" + std::to_string(n) + "]"; }

// Runs the sentence without its result being shown, and drops the result. A % in the operand stands for the number of
// items; another operand is repeated so often.
void ours(benchmark::State& state, std::uint32_t threads, std::string left, const std::string& right,
          const std::string& verb) {
    const std::size_t place = left.find('%');
    left = place == left.npos ? both(left, state.range(0)) : left.replace(place, 1, std::to_string(state.range(0)));
    measure(state, threads, left + " " + (right.empty() ? "" : right + " ") + verb + " .", state.range(0));
}

template <class Value, class Work>
void plain(benchmark::State& state, Value left, Value right, Work work) {
    const auto n = static_cast<std::size_t>(state.range(0));
    const std::vector<Value> a(n, left), b(n, right);
    std::vector<decltype(work(left, right))> c(n);
    for (auto _ : state) {
#pragma GCC ivdep
        for (std::size_t i = 0; i < n; ++i) c[i] = work(a[i], b[i]);
        benchmark::DoNotOptimize(c.data());
        benchmark::ClobberMemory();
    }
    state.SetItemsProcessed(state.iterations() * state.range(0));
}

// The products as anybody would write them down, with no thought of zeros and infinities.
Complex plain_product(Complex l, Complex r) { return {l.re * r.re - l.im * r.im, l.re * r.im + l.im * r.re}; }
Quaternion plain_product(Quaternion l, Quaternion r) {
    return {l.w * r.w - l.x * r.x - l.y * r.y - l.z * r.z, l.w * r.x + l.x * r.w + l.y * r.z - l.z * r.y,
            l.w * r.y + l.y * r.w + l.z * r.x - l.x * r.z, l.w * r.z + l.z * r.w + l.x * r.y - l.y * r.x};
}

// A number over the squared magnitude of another one.
template <class Value>
Value over_square(const Value& value, const Value& by) {
    const double n = 1 / squared_magnitude(by);
    return map_components(value, [n](double c) { return c * n; });
}
template <class Value>
Value conjugate(const Value& value) {
    auto components = components_of(value);
    for (std::size_t k = 1; k < components.size(); ++k) components[k] = -components[k];
    return std::bit_cast<Value>(components);
}

// The limit of a row over reals or integers. Truth values take a byte each.
template <class Work>
constexpr auto reals(Work) {
    return [](benchmark::State& state) { plain(state, 1.5, 3.5, Work{}); };
}
template <class Work>
constexpr auto integers(Work) {
    return [](benchmark::State& state) { plain(state, std::int64_t{1}, std::int64_t{3}, Work{}); };
}
using Truth = std::uint8_t;

// The same over hypercomplex numbers: a quotient, a magnitude or a reciprocal.
template <class Value>
Value some(int k) {
    Components<Value> components;
    std::iota(components.begin(), components.end(), k);
    return std::bit_cast<Value>(components);
}
template <class Value>
void plain_quotient(benchmark::State& state) {
    plain(state, some<Value>(1), some<Value>(5), [](const Value& a, const Value& b) {
        if constexpr (std::is_same_v<Value, Octonion>)
            return over_square(product(a, conjugate(b)), b);
        else
            return over_square(plain_product(a, conjugate(b)), b);
    });
}
template <class Value>
void plain_magnitude(benchmark::State& state) {
    plain(state, some<Value>(1), some<Value>(5), [](const Value& a, const Value&) {
        return std::sqrt(squared_magnitude(a));
    });
}
template <class Value>
void plain_reciprocal(benchmark::State& state) {
    plain(state, some<Value>(1), some<Value>(5), [](const Value& a, const Value&) {
        return over_square(conjugate(a), a);
    });
}

double draw() { return static_cast<double>(PRNGS(prngs_seed)) * prngs_unit; }

// A run from the value up by ones.
template <auto from>
void plain_run(benchmark::State& state) {
    std::vector<std::remove_const_t<decltype(from)>> run(static_cast<std::size_t>(state.range(0)));
    for (auto _ : state) {
        std::iota(run.begin(), run.end(), from);
        benchmark::DoNotOptimize(run.data());
        benchmark::ClobberMemory();
    }
    state.SetItemsProcessed(state.iterations() * state.range(0));
}

// All items to one, in order.
template <class Value, class Work>
void plain_fold(benchmark::State& state, Value value, Work work) {
    const std::vector<Value> a(static_cast<std::size_t>(state.range(0)), value);
    for (auto _ : state) benchmark::DoNotOptimize(std::accumulate(a.begin() + 1, a.end(), a[0], work));
    state.SetItemsProcessed(state.iterations() * state.range(0));
}

struct Row {
    const char* name;
    const char* left;   // an operand
    const char* right;  // a value to repeat; empty: a single value in `verb`
    const char* verb;
    void (*limit)(benchmark::State&);
};

const Row rows[] = {
    {"real + real", "1.5 2.25", "3.5 4.75", "+", reals([](double a, double b) { return a + b; })},
    {"integer + integer", "1 2", "3 4", "+", integers([](std::int64_t a, std::int64_t b) { return a + b; })},
    {"integer * scalar", "1 2", "", "3 *", integers([](std::int64_t a, std::int64_t) { return a * 3; })},
    {"real / real", "1.5 2.25", "3.5 4.75", "/", reals([](double a, double b) { return a / b; })},
    {"real maximum real", "1.5 2.25", "3.5 4.75", "MAX", reals([](double a, double b) { return a > b ? a : b; })},
    {"integer maximum integer", "1 2", "3 4", "MAX",
     integers([](std::int64_t a, std::int64_t b) { return a > b ? a : b; })},
    {"real < real", "1.5 2.25", "3.5 4.75", "<", reals([](double a, double b) { return Truth{a < b}; })},
    {"integer < integer", "1 2", "3 4", "<", integers([](std::int64_t a, std::int64_t b) { return Truth{a < b}; })},
    {"real = real", "1.5 2.25", "3.5 4.75", "=",
     reals([](double a, double b) { return std::fabs(a - b) < 1e-15 ? 1 - std::fabs(a - b) : 0.0; })},
    {"integer = integer", "1 2", "3 4", "=", integers([](std::int64_t a, std::int64_t b) { return Truth{a == b}; })},
    {"real and real", "0.5 0.25", "0.3 0.4", "AND", reals([](double a, double b) { return a < b ? a : b; })},
    {"integer and integer", "1 0", "1 1", "AND",
     integers([](std::int64_t a, std::int64_t b) { return static_cast<Truth>((a > 0) & (b > 0)); })},
    {"not real", "0.5 0.25", "", "NOT", reals([](double a, double) { return 1 - a; })},
    {"not integer", "1 0", "", "NOT", integers([](std::int64_t a, std::int64_t) { return Truth{a <= 0}; })},
    {"floor of real", "1.5 -2.25", "", "FLOOR", reals([](double a, double) { return std::floor(a); })},
    {"absolute real", "1.5 -2.25", "", "ABS", reals([](double a, double) { return std::fabs(a); })},
    {"absolute integer", "1 -2", "", "ABS", integers([](std::int64_t a, std::int64_t) { return a < 0 ? -a : a; })},
    {"root of real", "1.5 2.25", "", "SQRT", reals([](double a, double) { return std::sqrt(a); })},
    {"root of integer", "1 2", "", "SQRT",
     integers([](std::int64_t a, std::int64_t) { return std::sqrt(static_cast<double>(a)); })},
    {"sine of real", "0.3 1.7 -2.5 11.25", "", "SIN", reals([](double a, double) { return std::sin(a); })},
    {"exponential of real", "0.3 1.7 -2.5 11.25", "", "EXP", reals([](double a, double) { return std::exp(a); })},
    {"logarithm of real", "0.3 1.7 2.5 11.25", "", "LN", reals([](double a, double) { return std::log(a); })},
    {"real to the power real", "0.3 1.7 2.5 11.25", "3.5 -4.75", "POWER",
     reals([](double a, double b) { return std::pow(a, b); })},
    {"(x * x + x) / 2 - 1", "1.5 2.25", "", "DUP DUP * + 2 / 1 -",
     reals([](double a, double) { return (a * a + a) / 2 - 1; })},
    {"random real", "1.0 1.0", "", "RANDOM", reals([](double a, double) { return a * draw(); })},
    {"roll of a die", "6 6", "", "ROLL",
     integers([](std::int64_t a, std::int64_t) {
         return static_cast<std::int64_t>(static_cast<double>(a) * draw()) + 1;
     })},
    {"interval of integers", "(1 %)", "", "INTERVAL", plain_run<std::int64_t{1}>},
    {"interval of reals", "(0.5 %)", "", "INTERVAL", plain_run<0.5>},
    {"interval of rounded reals", "(0.1 %)", "", "INTERVAL", plain_run<0.1>},
    {"sum of reals", "1.5 2.25", "", "SUM",
     [](benchmark::State& state) { plain_fold(state, 1.5, std::plus<>{}); }},
    {"sum of integers", "1 2", "", "SUM",
     [](benchmark::State& state) { plain_fold(state, std::int64_t{1}, std::plus<>{}); }},
    {"largest of reals", "1.5 2.25", "", "LARGEST",
     [](benchmark::State& state) { plain_fold(state, 1.5, [](double a, double b) { return a > b ? a : b; }); }},
    {"complex * complex", "#1i2 #3i4", "#5i6 #7i8", "*",
     [](benchmark::State& state) {
         plain(state, Complex{1, 2}, Complex{5, 6}, [](Complex a, Complex b) { return plain_product(a, b); });
     }},
    {"quaternion * quaternion", "#1i2j3k4 #3i4j5k6", "#5i6j7k8 #7i8j9k1", "*",
     [](benchmark::State& state) {
         plain(state, Quaternion{1, 2, 3, 4}, Quaternion{5, 6, 7, 8},
               [](Quaternion a, Quaternion b) { return plain_product(a, b); });
     }},
    {"octonion * octonion", "#1i2j3k4l5m6n7o8 #3i4j5k6l7m8n9o1", "#5i6j7k8l9m1n2o3 #7i8j9k1l2m3n4o5", "*",
     [](benchmark::State& state) {
         plain(state, Octonion{{1, 2, 3, 4, 5, 6, 7, 8}}, Octonion{{5, 6, 7, 8, 9, 1, 2, 3}},
               [](const Octonion& a, const Octonion& b) { return product(a, b); });
     }},
    {"complex / complex", "#1i2 #3i4", "#5i6 #7i8", "/", plain_quotient<Complex>},
    {"quaternion / quaternion", "#1i2j3k4 #3i4j5k6", "#5i6j7k8 #7i8j9k1", "/", plain_quotient<Quaternion>},
    {"octonion / octonion", "#1i2j3k4l5m6n7o8 #3i4j5k6l7m8n9o1", "#5i6j7k8l9m1n2o3 #7i8j9k1l2m3n4o5", "/",
     plain_quotient<Octonion>},
    {"absolute complex", "#1i2 #3i4", "", "ABS", plain_magnitude<Complex>},
    {"absolute quaternion", "#1i2j3k4 #3i4j5k6", "", "ABS", plain_magnitude<Quaternion>},
    {"absolute octonion", "#1i2j3k4l5m6n7o8 #3i4j5k6l7m8n9o1", "", "ABS", plain_magnitude<Octonion>},
    {"reciprocal of complex", "#1i2 #3i4", "", "RECIPROCAL", plain_reciprocal<Complex>},
};

// A hand-off of nothing at all, and its rendezvous.
void hand_off(benchmark::State& state) {
    start_interpreter();
    processors = 2;
    for (auto _ : state) {
        post([](void*, std::uint32_t) { return true; }, nullptr, 0);
        collect();
    }
    processors = 1;
    state.SetItemsProcessed(state.iterations());
}
BENCHMARK(hand_off)->Name("ours/hand-off and rendezvous")->UseRealTime();

const bool registered = [] {
    for (const Row& row : rows)
        for (const std::int64_t n : {1000, 100000, 1000000, 10000000}) {
            if (n > 1000000 && std::string_view(row.name).find("octonion") != std::string_view::npos) continue;  // gigabytes
            const auto sentence = [&row](benchmark::State& state, std::uint32_t threads) {
                const std::string right = *row.right == '\0' ? "" : both(row.right, state.range(0));
                ours(state, threads, row.left, right, row.verb);
            };
            add_row(row.name, n, sentence, row.limit);
        }
    return true;
}();

}  // namespace
}  // namespace ondrel
