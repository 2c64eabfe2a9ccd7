// What the families of the reference share: how results are written down, and what an operand stands for.
#pragma once

#include <algorithm>
#include <cmath>
#include <initializer_list>
#include <limits>
#include <numbers>

#include "tests/reference.h"
#include "tests/reference_forms.h"

namespace ondrel::oracle {

constexpr double infinity = std::numeric_limits<double>::infinity();
constexpr double two_63 = 9223372036854775808.0;
constexpr double epsilon = std::numeric_limits<double>::epsilon();
constexpr double smallest = std::numeric_limits<double>::denorm_min();

using Outcomes = std::vector<Outcome>;

// ---- the families

Outcomes arithmetic(Verb verb, const Item& left, const Item& right);
Outcomes comparison(Verb verb, const Item& left, const Item& right, double tolerance);
Outcomes powers(Verb verb, const Item& left, const Item& right, double tolerance);
Outcomes connective(Verb verb, const Item& left, const Item& right);
Outcomes monadic_arithmetic(Monadic verb, const Item& item, double tolerance);
Outcomes forms(Monadic verb, const Item& item);
Outcomes truth(Monadic verb, const Item& item, Setting& setting);
Outcomes chance(Monadic verb, const Item& item, Setting& setting);

// ---- results

inline Outcomes fails(int number) { return {{.error = number}}; }
inline Outcomes gives(const Item& item) { return {{.item = item}}; }

inline Item number(std::uint32_t tag, const Parts& parts, std::uint16_t form = form::number, std::uint16_t marks = 0) {
    return {.tag = tag, .form = form, .marks = marks, .parts = parts};
}

// Which of the two a verb means where it is not said: both.
inline Outcomes either(const Outcomes& one, const Outcomes& other) {
    Outcomes both = one;
    both.insert(both.end(), other.begin(), other.end());
    return both;
}

// The same outcomes in each of these forms.
inline Outcomes in_forms(const Outcomes& outcomes, std::initializer_list<std::uint16_t> forms) {
    Outcomes all;
    for (const std::uint16_t form : forms)
        for (Outcome outcome : outcomes) {
            outcome.item.form = form;
            all.push_back(outcome);
        }
    return all;
}

inline Outcomes with_free_marks(Outcomes outcomes, std::uint16_t marks) {
    for (Outcome& outcome : outcomes) outcome.free_marks |= marks;
    return outcomes;
}

// The item as it is, without its name. Whether a prefix goes is not fixed.
inline Outcomes copied(Item item) {
    item.marks &= 0x3fff;
    item.name.clear();
    return with_free_marks(gives(item), mark::r_prefix | mark::hidden);
}

// A formula, worked out in double and in extended precision. Where the two lie far apart, doubles in another order may
// lie as far from either; where only one of them is a number, nothing is fixed.
template <class Formula>
Outcome estimated(const Item& like, const Parts& operand, Formula formula) {
    std::array<long double, 8> wide{};
    for (std::size_t i = 0; i < 8; ++i) wide[i] = operand[i];
    const std::array<double, 8> coarse = formula(operand);
    const std::array<long double, 8> fine = formula(wide);
    Outcome outcome{.item = like};
    double norm = 0;
    for (std::size_t i = 0; i < 8; ++i) {
        outcome.item.parts[i] = static_cast<double>(fine[i]);
        if (std::isfinite(coarse[i])) norm = std::max(norm, std::fabs(coarse[i]));
    }
    for (std::size_t i = 0; i < 8; ++i) {
        const double c = coarse[i], f = outcome.item.parts[i];
        const bool same = c == f || (std::isnan(c) && std::isnan(f));
        outcome.tolerance[i] = 8 * std::fabs(c - f) + 16 * epsilon * std::fabs(f) + 4 * epsilon * norm + smallest;
        if (!std::isfinite(c) || !std::isfinite(f)) outcome.tolerance[i] = same ? smallest : infinity;
    }
    return outcome;
}

// A formula of sums of squares, which holds in extended precision where those are no ordinary doubles.
template <class Formula>
Outcome spacious(const Item& like, const Parts& operand, Formula formula) {
    Outcome outcome = estimated(like, operand, formula);
    if (std::all_of(operand.begin(), operand.end(), [](double part) { return std::isfinite(part); }))
        for (std::size_t i = 0; i < 8; ++i)
            outcome.tolerance[i] = 16 * epsilon * std::fabs(outcome.item.parts[i]) + smallest;
    return outcome;
}

// Sine and cosine, in which dust counts as zero.
template <class F>
F without_dust(F value) {
    return std::fabs(value) < F(1e-15) ? F(0) : value;
}
template <class F>
F cs(F t) {
    return without_dust(std::cos(t));
}
template <class F>
F sn(F t) {
    return without_dust(std::sin(t));
}
// Of a number in the plane.
template <class F>
F angle(F x, F y) {
    if (y == 0) return x < 0 ? std::numbers::pi_v<F> : F(0);
    return std::atan2(y, x);
}
// An array of components with one that counts.
template <class F>
std::array<F, 8> first(F value) {
    return {value};
}

// Nothing is fixed where the formula comes to no number: a zero may or may not annihilate an infinity.
inline Outcome open_where_lost(Outcome outcome) {
    for (std::size_t i = 0; i < 8; ++i)
        if (std::isnan(outcome.item.parts[i])) outcome.tolerance[i] = infinity;
    return outcome;
}

// ---- operands

inline bool is_character(const Item& item) { return item.tag == tag::ascii || item.tag == tag::unicode; }
inline bool is_hypercomplex(const Item& item) { return item.tag >= tag::complex; }
inline bool is_polar(const Item& item) { return is_hypercomplex(item) && item.form == form::polar; }

inline Parts parts_of(const Item& item) {
    if (item.tag == tag::integer) return {static_cast<double>(item.integer)};
    return item.parts;
}
inline double plain(const Item& item) { return parts_of(item)[0]; }

// The number that the item stands for, in components.
inline Parts cartesian_parts(const Item& item) {
    return is_polar(item) ? cartesian(component_count(item.tag), item.parts) : parts_of(item);
}

// The form of a number made from a cartesian one.
inline std::uint16_t kept(std::uint16_t form) { return form == form::cartesian ? form : form::number; }

// The outcome in polar coordinates. An arc sine close to a right angle knows half the digits of its argument.
inline Outcome brought_back(Outcome outcome) {
    outcome.item.form = form::polar;
    outcome.item.parts = polar(component_count(outcome.item.tag), outcome.item.parts);
    for (double& tolerance : outcome.tolerance) tolerance += 1e-7;
    outcome.tolerance[0] += 1e-12 * std::fabs(outcome.item.parts[0]);
    return outcome;
}

}  // namespace ondrel::oracle
