// The elementary functions of reals, as if computed in extended precision and then rounded to double once.
//
// The functions that arrays go through fast are records with two forms of `of`: one value, and n values at once. An
// item of an array always gives the same bits as the same value alone, on every processor. Nothing is raised: outside
// of a function's domain the result is NaN or an infinity by the IEEE rules.
//
// The error is at most about 0.501 units in the last place.
#pragma once

#include <cstddef>

namespace ondrel {

// The results of these may lie in the very array of an operand.
struct Exponential {
    static double of(double x);
    static void of(const double* x, double* results, std::size_t n);
};
struct NaturalLogarithm {
    static double of(double x);
    static void of(const double* x, double* results, std::size_t n);
};

// Of radians. Angles up to 2^30 are reduced by half turns of 160 bits, greater ones by the general library. Sines and
// cosines next to nothing are nothing (numbers/polar.h).
struct Sine {
    static double of(double radians);
    static void of(const double* radians, double* results, std::size_t n);
};
struct Cosine {
    static double of(double radians);
    static void of(const double* radians, double* results, std::size_t n);
};
struct Tangent {
    static double of(double radians);
    static void of(const double* radians, double* results, std::size_t n);
};

// An operand of a dyadic function: n values, or a single one that pairs with every value of the other operand.
struct Reals {
    const double* values;
    bool single;
};

// Real powers: NaN for a base below zero with an exponent that is no integer. The square is the product, rounded once;
// a power that is halfway between two doubles goes to the even one.
struct Power {
    static double of(double base, double exponent);
    static void of(Reals base, Reals exponent, double* results, std::size_t n);
};

// The quotient of the natural logarithms, of which only the quotient is rounded.
struct Logarithm {
    static double of(double x, double base);
    static void of(Reals x, Reals base, double* results, std::size_t n);
};

double cube_root(double x);

double root_of_one_minus_square(double x);
double root_of_one_plus_square(double x);
double root_of_square_minus_one(double x);

double hyperbolic_sine(double x);
double hyperbolic_cosine(double x);
double hyperbolic_tangent(double x);

double arc_sine(double x);
double arc_cosine(double x);
double arc_tangent(double x);

double area_hyperbolic_sine(double x);
double area_hyperbolic_cosine(double x);
double area_hyperbolic_tangent(double x);

}  // namespace ondrel
