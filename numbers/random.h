// Chance: the generator that every thread runs a stream of its own of, after Park and Miller, with multiplier 48271 and
// modulus 2^31 - 1 in Schrage's form, so that nothing overflows.
//
// A state lies between 1 and 2147483647 once a draw has been made. The seed 2147483647 makes a stream that stands
// still: its first state is 0, and every later one the modulus.
#pragma once

#include <array>
#include <cstddef>
#include <cstdint>
#include <ctime>

namespace ondrel {

inline constexpr std::int64_t prngs_modulus = 2147483647;
inline constexpr double prngs_unit = 4.656612875245797e-10;  // a draw times this lies between 0 and 1

// Steps the state and returns its new value.
inline std::int64_t PRNGS(std::int64_t& state) {
    constexpr std::int64_t multiplier = 48271, quotient = 44488, remainder = 3399;
    const std::int64_t q = state / quotient, r = state - quotient * q;
    state = multiplier * r - remainder * q;
    if (state <= 0) state += prngs_modulus;
    return state;
}

// Sets the stream of a processor: from a positive value, from the standing seed for 0, from the clock below 0.
inline void SEED_PRNGS(std::uint32_t processor, std::int64_t& state, std::int64_t value) {
    constexpr std::int64_t standing_seed = 123456789;
    constexpr std::uint32_t apart = 22925;
    const std::int64_t base = value > 0    ? value % prngs_modulus
                              : value == 0 ? standing_seed
                                           : static_cast<std::int64_t>(std::time(nullptr)) % prngs_modulus;
    state = base + processor * apart;
}

// The rest of a product of two numbers below 2^31, from 1 to 2^31 - 1: the sum of its two halves.
[[gnu::always_inline]] constexpr std::uint32_t prngs_rest(std::uint64_t product) {
    const std::uint64_t rest = (product & prngs_modulus) + (product >> 31);
    return static_cast<std::uint32_t>(rest > prngs_modulus ? rest - prngs_modulus : rest);
}

inline constexpr std::size_t draw_lanes = 32;
inline constexpr std::array<std::uint32_t, draw_lanes + 1> prngs_powers = [] {
    std::array<std::uint32_t, draw_lanes + 1> powers{1};
    for (std::size_t k = 1; k <= draw_lanes; ++k) powers[k] = prngs_rest(std::uint64_t{48271} * powers[k - 1]);
    return powers;
}();

// The next n draws at once, n at least 1; `draws` has room for n and `draw_lanes` more. Vector code where PRNGS would
// wait for each draw: lanes of neighbouring draws step over each other by one product.
[[gnu::always_inline]] inline void draw_many(std::int64_t& state, std::uint32_t* draws, std::size_t n) {
    const auto first = static_cast<std::uint64_t>(PRNGS(state));
    for (std::size_t k = 0; k < draw_lanes; ++k) draws[k] = prngs_rest(first * prngs_powers[k]);
    for (std::size_t drawn = draw_lanes; drawn < n; drawn += draw_lanes)
        for (std::size_t k = 0; k < draw_lanes; ++k)
            draws[drawn + k] = prngs_rest(std::uint64_t{prngs_powers[draw_lanes]} * draws[drawn + k - draw_lanes]);
    state = draws[n - 1];
}

// A draw between 0 and 1 that is not exactly `probability`, or of a stream that stands still at it the last one.
inline double draw_apart_from(double probability, std::int64_t& state) {
    double draw;
    std::int64_t before;
    do {
        before = state;
        draw = static_cast<double>(PRNGS(state)) * prngs_unit;
    } while (draw == probability && state != before);
    return draw;
}

extern constinit thread_local std::int64_t prngs_seed;  // the stream of the thread

}  // namespace ondrel
