#!/usr/bin/env python3
"""Makes the reference values of the accuracy test: python3 make.py, with mpmath, writes *.txt beside itself.

Each value is the mathematical function of exactly the doubles written, on the branches that the verbs take, to 30
digits. The working precision leaves hundreds of digits for cancellation between doubles as far apart as they can be, so
that a defining formula may stand here that no program could use in doubles.

A file holds sections: a line "## verb, operands: what the points are", then a line for each point, of the sentence and
its value, "operands verb = component [component]".
"""

import math
import pathlib
import random

from mpmath import inf, mp, mpc, mpf, nan

CIRCULAR_DIGITS, GAMMA_DIGITS = 1400, 120
rng = random.Random(1)

# Points. An int is written as an integer, a float as a real, a complex as a complex number.

def scattered(count, low, high, signs=(-1, 1)):
    """Reals of magnitudes 2^low to 2^high, evenly by exponent."""
    return [rng.choice(signs) * (1 + rng.random()) * 2.0 ** rng.randint(low, high - 1) for _ in range(count)]

def uniform(count, low, high):
    return [low + (high - low) * rng.random() for _ in range(count)]

def plane(reals, imaginaries):
    return [complex(x, y) for x, y in zip(reals, imaginaries)]

def scattered_plane(count, low, high):
    return plane(scattered(count, low, high), scattered(count, low, high))

def pairs(lefts, rights):
    return [(left, right) for left in lefts for right in rights]

def grid(reals, imaginaries):
    return [complex(x, y) for x, y in pairs(reals, imaginaries)]

def near_one(*steps):
    """The doubles that lie so many steps of 2^-52 from 1."""
    return [1 + step * 2.0**-52 for step in steps]

LEAST, LEAST_NORMAL, GREATEST, HALF_PI = 5e-324, 2.2250738585072014e-308, 1.7976931348623157e308, 1.5707963267948966
ENDS = [0.0, LEAST, 1e-310, LEAST_NORMAL, GREATEST, float("inf"), float("-inf"), float("nan")]
UNIT_CIRCLE = [0.6 + 0.8j, -0.8 + 0.6j, 0.28 - 0.96j, 0.9999999999999999 + 1e-8j, 1e-5 + 1j, -1 + 1e-8j, 1 + 1e-20j]
# Both sides of every cut, the axes and the branch points.
AROUND = grid((-2.5, -1.0, 0.0, 1e-9, 0.7, 1.0), (-1.5, -1.0, -1e-20, 0.0, 1e-7, 1.0))
# Closer to the branch points, and on to where squares overflow and vanish.
BRANCHES = AROUND + scattered_plane(8, -8, 8) + [
    1.0000001 + 1e-9j, 0.99999999999 - 1e-12j, -1 + 1e-15j, 1e-12 + 1.00000000001j, -1e-13 - 0.9999999j,
    1e-300 + 2e-300j, 1e-20 - 1e-20j, 1e10 + 1e-10j, 1e-10 - 1e10j, -1e160 + 3e160j, 2e300 - 1e-300j]
GROWTH = AROUND + scattered_plane(8, -8, 4)
TURNS, HEIGHTS = (-1e5, 0.5, HALF_PI, 1e22), (1e-8, 30.0, -700.0, 710.0)
POINTS = {
    "all magnitudes": scattered(25, -40, 10) + scattered(10, -1000, 1000) + ENDS + [3, -7],
    "angles to the greatest": [k * HALF_PI for k in (-4, -3, -1, 1, 2, 3, 10, 1001)] + scattered(25, -10, 20) +
        [6381956970095103.0 * 2.0**797, 1e22, 1e15, 1e-300, LEAST, 1e-16, 2e-15, 1e-8, -1.0, 3, 100] +
        scattered(5, 50, 1000),
    "-1 to 1": near_one(-1e12, -1e9, -1e5, -9, -0.5, 0, 1) + scattered(10, -30, 0) + uniform(16, -1, 1) +
        [-1.0, 0.0, LEAST, 1e-300, 1e-17, -0.5, 0.5, 2.0, 1, -0.9999999999],
    "from 1 on": near_one(-0.5, 0, 1, 9, 1e5, 1e9, 1e12, 1e15) + [2, 0.0, 1e154, 1e155, 1e300, GREATEST] +
        scattered(28, 0, 40, signs=(1,)),
    "to overflow": [0.0, 1e-300, 1e-9, -1e-5, 0.3, 1, -22.5, 709.0, 710.0, 710.4, 710.4758600739439, 710.5, -711.0] +
        scattered(30, -20, 9),
    "near cuts and branch points, all magnitudes": BRANCHES,
    "near cuts, all magnitudes": [z for z in BRANCHES if z != -1j],
    "angles to 1e22, heights to overflow": GROWTH + grid(TURNS, HEIGHTS),
    "to overflow, angles to 1e22": GROWTH + grid(HEIGHTS, TURNS),
}

def turned_bases(count):
    """Complex numbers so close to the unit circle that their powers to 1e5 stay in range."""
    return [complex(mp.expj(angle)) for angle in uniform(count, -3, 3)]

def far_out(reals):
    """Complex numbers with these real parts, so high up that their factorials are about 1 by Stirling's formula."""
    heights = [x * 8 for x in reals]
    for _ in range(30):
        heights = [2 / math.pi * ((x + 0.5) * math.log(y) + math.log(2 * math.pi) / 2) for x, y in zip(reals, heights)]
    return plane(reals, heights)

# What the verbs are.

def chopped(value, least=mpf(10) ** -1200):
    """What is this far below the least double comes from rounding, and is 0 in truth."""
    return mpf(0) if abs(value) < least else value

def true_zero(value):
    """Sines and cosines of multiples of the double nearest to a quarter turn are to be 0."""
    return chopped(value, mpf("1e-15"))

def turned(magnitude, angle, zero=true_zero):
    return mpc(magnitude * zero(mp.cos(angle)), magnitude * zero(mp.sin(angle)))

def A(z):
    """On the cut the angle is that from above, whatever the sign of the zero."""
    return mp.atan2(z.imag, z.real) if chopped(z.imag) else mp.pi if z.real < 0 else mpf(0)

def L(z):
    return chopped(mp.log(z.real**2 + z.imag**2) / 2) if z else -inf

def ln(x):
    """A real number below 0 has no logarithm; a complex one has."""
    return mpc(L(x), A(x)) if isinstance(x, mpc) else mp.log(x) if not x < 0 else nan

def root(z, zero=chopped):
    return turned(mp.sqrt(abs(z)), A(z) / 2, zero)

def turn_of(w):
    """ln w / i"""
    return mpc(A(w), -L(w))

def arc_cosine(z):
    w = z + root(z**2 - 1)
    value = turn_of(w) if w.imag > 0 else -turn_of(w)
    return value if chopped(w.imag) else mpc(A(w), abs(L(w)))

def area_cosine(z):
    value = ln(z + root(z**2 - 1))
    return mpc(0, abs(value.imag)) if not value.real else -value if value.real < 0 else value

BOTH_ENDS, ANGLES, UNIT, ABOVE_ONE, OVERFLOW, CUTS, NO_POLE, STEEP, LEVEL = POINTS
CIRCULAR = {  # selector: points and function of a real number, of a complex number
    0: (UNIT, lambda x: mp.sqrt(1 - x**2), CUTS, lambda z: root(1 - z**2, true_zero)),
    1: (ANGLES, lambda x: true_zero(mp.sin(x)), STEEP, mp.sin),
    2: (ANGLES, lambda x: true_zero(mp.cos(x)), STEEP, mp.cos),
    3: (ANGLES, mp.tan, STEEP, lambda z: mp.sin(z) / mp.cos(z)),
    4: (BOTH_ENDS, lambda x: mp.sqrt(1 + x**2), CUTS, lambda z: root(1 + z**2, true_zero)),
    5: (OVERFLOW, mp.sinh, LEVEL, mp.sinh),
    6: (OVERFLOW, mp.cosh, LEVEL, mp.cosh),
    7: (OVERFLOW, mp.tanh, LEVEL, lambda z: mp.sinh(z) / mp.cosh(z)),
    -1: (UNIT, mp.asin, CUTS, lambda z: turn_of(mpc(-z.imag, z.real) + root(1 - z**2))),
    -2: (UNIT, mp.acos, CUTS, arc_cosine),
    -3: (BOTH_ENDS, mp.atan, NO_POLE, lambda z: turn_of(root(mpc(1 - z.imag, z.real) / mpc(1 + z.imag, -z.real)))),
    -4: (ABOVE_ONE, lambda x: mp.sqrt(x**2 - 1), CUTS,
         lambda z: (z + 1) * root((z - 1) / (z + 1)) if z != -1 else mpc(0)),
    -5: (BOTH_ENDS, mp.asinh, CUTS, lambda z: ln(z + root(z**2 + 1))),
    -6: (ABOVE_ONE, mp.acosh, CUTS, area_cosine),
    -7: (UNIT, mp.atanh, CUTS, lambda z: (ln(1 + z) - ln(1 - z)) / 2),
}

def circular(x, selector):
    _, of_real, _, of_complex = CIRCULAR[int(selector)]
    value = (of_complex if isinstance(x, mpc) else of_real)(x)
    return value if isinstance(x, mpc) or not isinstance(value, mpc) else nan

def power(x, y):
    if isinstance(x, mpc) or isinstance(y, mpc):
        log, exponent = mpc(ln(x)), mpc(y)
        return turned(mp.exp(exponent.real * log.real - exponent.imag * log.imag),
                      exponent.real * log.imag + exponent.imag * log.real)
    if y == mpf(0.3333333333333333):
        return mp.sign(x) * mp.cbrt(abs(x))
    return turned(abs(x) ** y, mp.pi * y) if x < 0 and not mp.isint(y) else x**y

def factorial(x):
    if not isinstance(x, mpc):
        return mp.gamma(x + 1)
    return mp.gamma(mpc(x.real + 1, chopped(x.imag, mpf("1e-15"))))

def binomial(k, n):
    if isinstance(k, mpc) or isinstance(n, mpc):
        k, n = mpc(k), mpc(n)
    elif mp.isint(k) and mp.isint(n):
        if k < n < 0:
            return (-1) ** int(n - k) * mp.binomial(-k - 1, -n - 1)
        return mpf(0) if k != n and (k < 0 or 0 <= n < k) else mpf(1) if k == n else mp.binomial(n, k)
    return factorial(n) / (factorial(k) * factorial(n - k))

VERBS = {  # file, function
    "NATURALLOG": ("elementary", ln),
    "EXPONENTIAL": ("elementary", lambda x: turned(mp.exp(x.real), x.imag) if isinstance(x, mpc) else mp.exp(x)),
    "POWER": ("power", power),
    "LOGARITHM": ("power", lambda x, base: (mpc(ln(x)) if isinstance(base, mpc) else ln(x)) / ln(base)),
    "CIRCULAR": ("circular", circular),
    "FACTORIAL": ("gamma", factorial),
    "BINOMIAL": ("gamma", binomial),
}
# Points that are written out with all their digits are the worst that a search over 25 times as many points has met.
SECTIONS = {  # verb, operands and what the points are: the points
    "NATURALLOG, real: all magnitudes, near 1":
        near_one(-1e10, -1e5, -7, -0.5, 0, 1, 9, 1e5, 1e10) + ENDS + [2, 10, -1.0, 2.718281828459045] +
        scattered(30, -1000, 1000, signs=(1,)),
    "NATURALLOG, complex: all magnitudes, near the unit circle and the cut":
        UNIT_CIRCLE + BRANCHES + [1e-310 + 1e-310j, GREATEST * (1 + 1j)],
    "EXPONENTIAL, real: to both ends":
        ENDS + [1, -1, 1e-17, -1e-9, 20, 709.0, 709.782712893384, 709.7827128933841, -708.5, -745.1, -745.14] +
        scattered(12, -40, 9) + uniform(20, -740, 709),
    "EXPONENTIAL, complex: to both ends, large angles":
        GROWTH + grid((-740.0, 0.0, 709.5, 712.0), (1e-12, HALF_PI, 1.57, 3.0, 1e22)),
    "POWER, real: bases and exponents to both ends":
        pairs((2, 10, 1.0000000001, 0.9999999999999999, 7.5), (-3, 62, 63, 2.5, -100.0, 300.25)) +
        pairs((-2, -1.5), (3, 1001, -4, 5.0)) + [*zip(scattered(16, -8, 8, signs=(1,)), scattered(16, -4, 6))] +
        [(0, 0), (0.0, 2.5), (1.0000001, 1e9), (1e-300, 0.99), (3.0, 646.0), (LEAST, 0.9), (0.5, 1073.5)],
    "POWER, square root: exponent 0.5":
        pairs(scattered(36, -900, 900, signs=(1,)) + [2, 4.0, 0.0, LEAST, GREATEST], [0.5]),
    "POWER, cube root: exponent 0.3333333333333333":
        pairs(scattered(36, -900, 900) + [-8, 27.0, 0.0, LEAST, -GREATEST], [0.3333333333333333]),
    "POWER, negative base: fractional exponents, near whole and half ones":
        pairs((-2, -0.7, -8.0), (0.5, 0.25, -1.5, 2.5, 10.5, 0.33333333333333337, 1e-10, 1001.25, 3.0000000001)) +
        [(-1.0, 1e9 + 0.25), (-1.0, 123456789.5)] + [*zip(scattered(14, -8, 0, signs=(-1,)), uniform(14, -9, 9))] +
        [*zip(scattered(8, 20, 30, signs=(-1,)), uniform(8, -30, 30)), (-27405571.028072737, -25.421604645019386)],
    "POWER, complex: either operand complex, near the unit circle and the cut":
        pairs((0.6 + 0.8j, -2 + 1e-20j, -3 - 0j, 1e-150 + 1e-150j), (2, -3, 0.5, 2.5, 1 - 1j)) +
        pairs((2, 0.3), (1j, 2 - 3j)) + [(-2, 1 + 1j), *zip(scattered_plane(20, -6, 6), scattered_plane(20, -3, 3))] +
        [(-4.742548504346795 - 55.774254244790185j, -7.324910879671988 + 7.910326179621414j),
         (18.94867236842212 + 0.04088769681467741j, 0.14206665027269527 - 1.0684133993323255j)],
    "POWER, complex far out: exponents of 100 to 1e5, results within the range":
        [(1.0000001 + 1e-7j, 1e7), (3 + 4j, 400), (1e100, 0.5 + 100j), (0.6 + 0.8j, 1e5)] +
        [*zip(turned_bases(20), scattered(20, 7, 17))] +
        [*zip(scattered(16, -9, 9, (1,)), plane(uniform(16, -9, 9), scattered(16, 7, 17)))] +
        [(-0.769699669587193 + 0.6384061549181413j, -127279.03244883427),
         (0.018786176256369136, -8.03085569687963 + 69723.30553251354j)],
    "LOGARITHM, real: near 1, whole results, the ends":
        pairs((8, 1000, 1.0000000000000002, LEAST, GREATEST, 0.3), (2, 10, 0.1, 0.9999999999999999)) +
        [(-1, 2), (2, -2.0), (0, 2), (2, 0), *zip(scattered(20, -900, 900, signs=(1,)), scattered(20, -9, 9, (1,)))],
    "LOGARITHM, complex: either operand complex, near the unit circle and the cut":
        pairs((0.6 + 0.8j, -2 + 1e-20j, -3 + 0j, 1e200 + 1e200j), (2, 0.9999999999999999, 1 - 1j, 0.8 + 0.6j)) +
        pairs((10, 1.0000000000000002, -2), (1j, 2 - 3j, -5 + 0j)) +
        [*zip(scattered_plane(20, -9, 9), scattered_plane(20, -9, 9))],
    **{f"CIRCULAR {s}, {kind}: {words}": [(x, s) for x in POINTS[words]]
       for s, row in sorted(CIRCULAR.items()) for kind, words in (("real", row[0]), ("complex", row[2]))},
    "FACTORIAL, real: -170.5 to 170.6, near poles and 0":
        [0, 1, 20, 21, 25, 100, 170, 171, -0.5, 1e-300, -1e-10, 1e-10, 170.6, 170.7, -0.999999999, -1.000001,
         -20.0001, -150.5, -170.5, 2.0000000000000004, 0.46163214496836236, 0.49999999999999994] +
        uniform(10, -1, 0.5) + uniform(12, 1, 170) + uniform(10, -30, -1),
    "FACTORIAL, real from 0.5 up to 1: where the definition has nine digits":
        [0.5, 0.9999999999999999] + uniform(38, 0.5, 1),
    "FACTORIAL, complex: near poles and the real axis, to both ends":
        grid((-20.25, -3.0, -1.0, -0.5, 5.0), (-0.001, 1e-9, 0.7, -9.0, 60.0)) +
        [3 + 0j, -2.5 + 0j, 4 + 1e-16j, 150 - 20j, 165 + 5j, 1 + 400j, -100 + 3j] +
        plane(uniform(20, -12, 30), uniform(20, -20, 20)) +
        [23.34785190024032 - 6.012772409757986j, 29.930071656581674 + 18.109976736683954j],
    "FACTORIAL, complex far out: real parts of 256 to 8192, heights where the result is in range":
        far_out(scattered(40, 8, 13, (1,))) +
        [7777.939920943891 + 53956.22706336107j, 5397.057052224397 + 36055.948909197024j],
    "BINOMIAL, whole: both signs, to beyond 2^53":
        pairs((0, 2, 5, -3, 7), (5, 60, -1, -4, 1000)) +
        [(30, 60), (100, 200), (85, 170), (3, 2.0), (9, 100000), (20, 20), (6, 5), (19, 38), (28, 57), (150, 151),
         (-7, -4), (-50, -20), (4, -300), (13, 27), (25, 53.0), (40, 120)],
    "BINOMIAL, real: fractions, to 170":
        [(0.5, 1), (0.5, 0.5), (1, 0.5), (3, -0.5), (1e-10, 4), (84.5, 169.5), (2.5, 170),
         (1.4176894723006228, 95.1315890486822)] +
        [*zip(uniform(17, -2, 12), uniform(17, -3, 20))] + [*zip(uniform(17, 0, 80), uniform(17, 80, 165))],
    "BINOMIAL, real beside a pole: tops within 1e-3 to 1e-9 of a whole number that is less than what is chosen":
        pairs((1, 2, 5, 12.0), (1e-9, -1e-9, 1e-7, -3e-6, 1e-5, 0.0002, -0.0005, 0.001, -2.000001, -7.0003)),
    "BINOMIAL, complex: either operand complex, heights to 60":
        [(-1.4225414091284172 + 0.13580779369627471j, 20.520507457447238 + 5.921131418270841j),
         (9.822992260251414 + 4.860212781077021j, -1.51789927652028 + 4.281705852926095j)] +
        pairs((2, 0.5, 1 + 1j, -2.5 + 0.001j), (5 + 0.5j, 10.5 + 0j, -3.3 - 2j, 20 + 60j)) + [(2 + 0j, 5 + 0j)] +
        [*zip(plane(uniform(25, -4, 10), uniform(25, -6, 6)), plane(uniform(25, -4, 25), uniform(25, -9, 9)))],
}

def literal(value):
    if isinstance(value, complex):
        return literal(value.real) + "i" + literal(value.imag)
    return repr(value) if "." in repr(value) else repr(value).replace("e", ".0e")  # 1e+300 would be an integer

def digits(value):
    overflows = abs(value) >= mpf(2) ** 1024 - mpf(2) ** 970  # is nearer to 2^1024 than to a double
    return mp.nstr(mp.sign(value) * inf if overflows else chopped(value), 30)

def main():
    files = {}
    for heading, points in SECTIONS.items():
        verb = heading.replace(",", " ").split()[0]
        file, function = VERBS[verb]
        mp.dps = GAMMA_DIGITS if file == "gamma" else CIRCULAR_DIGITS
        lines = files.setdefault(file, [])
        lines.append(f"## {heading}")
        for point in points:
            operands = point if isinstance(point, tuple) else (point,)
            value = function(*[mpc(x) if isinstance(x, complex) else mpf(x) for x in operands])
            parts = (value.real, value.imag) if isinstance(value, mpc) else (value,)
            lines.append(" ".join([*map(literal, operands), verb, "=", *map(digits, parts)]))
    for file, lines in files.items():
        pathlib.Path(__file__).with_name(f"{file}.txt").write_text("\n".join(lines) + "\n")

if __name__ == "__main__":
    main()
