"""Times the work of the benchmark's rows in NumPy, starts the program, and prints one table.

Usage: rows.py BENCHMARK PROGRAM [WORK ...]. BENCHMARK is the benchmark executable, whose rows are named owner/work or
owner/work/items; PROGRAM is the interpreter. With WORKs, only the rows whose names hold one of them. All times are
nanoseconds an item, the best of several runs.
"""

import functools
import json
import pathlib
import re
import subprocess
import sys
import tempfile
import time

import numpy

import peers

REPEATS = 7
SPECIAL = re.compile(r"[*+()]")  # characters that the benchmark's filter would take for patterns
SUFFIXES = re.compile("(/min_warmup_time:[^/]*)?(/real_time)?$")
SLICE_SECONDS = 0.05

GENERATOR = numpy.random.default_rng(7)

REAL, INTEGER = ([1.5, 2.25], [3.5, 4.75]), ([1, 2], [3, 4])
DEGREES, TRUTHS = ([0.5, 0.25], [0.3, 0.4]), ([1, 0], [1, 1])
TRUTHS_ALONE = ([1, 1], [1])
ANGLES, POSITIVE = ([0.3, 1.7, -2.5, 11.25], [0]), ([0.3, 1.7, 2.5, 11.25], [3.5, -4.75])

# Of whole-array work: the side of the matrices, every other item, and a nest.
SIDE = 1000
MASK = numpy.resize(numpy.array([True, False]), SIDE * SIDE)
PAIRS = [numpy.array([1.5, 2.25]) for _ in range(100000)]

# Of files: what is written, and a file of it to read.
FOLDER = tempfile.TemporaryDirectory()
FORMATS = {"reals": "%.17g", "integers": "%d", "text": "%s"}


@functools.cache
def values(kind):
    numbers = numpy.arange(1, 1000001)
    return {"reals": lambda: numpy.sqrt(numbers), "integers": lambda: numbers * 7, "text": lambda: ["x" * 10000000]}[kind]()


def save(kind, name="file"):
    path = pathlib.Path(FOLDER.name) / name
    numpy.savetxt(path, values(kind), fmt=FORMATS[kind])
    return path


@functools.cache
def saved(kind):
    return save(kind, kind)


# The same work in NumPy: the kind of item, what the two operands repeat, and the function of them.
WORK = {
    "real + real": (numpy.float64, REAL, lambda a, b: a + b),
    "integer + integer": (numpy.int64, INTEGER, lambda a, b: a + b),
    "integer * scalar": (numpy.int64, INTEGER, lambda a, b: a * 3),
    "real / real": (numpy.float64, REAL, lambda a, b: a / b),
    "real maximum real": (numpy.float64, REAL, numpy.maximum),
    "integer maximum integer": (numpy.int64, INTEGER, numpy.maximum),
    "real < real": (numpy.float64, REAL, numpy.less),
    "integer < integer": (numpy.int64, INTEGER, numpy.less),
    "real = real": (numpy.float64, REAL, numpy.equal),
    "integer = integer": (numpy.int64, INTEGER, numpy.equal),
    "real and real": (numpy.float64, DEGREES, numpy.minimum),
    "integer and integer": (numpy.int64, TRUTHS, numpy.logical_and),
    "not real": (numpy.float64, DEGREES, lambda a, b: 1 - a),
    "not integer": (numpy.int64, TRUTHS, lambda a, b: numpy.logical_not(a)),
    "floor of real": (numpy.float64, REAL, lambda a, b: numpy.floor(a)),
    "absolute real": (numpy.float64, REAL, lambda a, b: numpy.abs(a)),
    "absolute integer": (numpy.int64, INTEGER, lambda a, b: numpy.abs(a)),
    "root of real": (numpy.float64, REAL, lambda a, b: numpy.sqrt(a)),
    "root of integer": (numpy.int64, INTEGER, lambda a, b: numpy.sqrt(a)),
    "sine of real": (numpy.float64, ANGLES, lambda a, b: numpy.sin(a)),
    "exponential of real": (numpy.float64, ANGLES, lambda a, b: numpy.exp(a)),
    "logarithm of real": (numpy.float64, POSITIVE, lambda a, b: numpy.log(a)),
    "real to the power real": (numpy.float64, POSITIVE, numpy.power),
    "(x * x + x) / 2 - 1": (numpy.float64, REAL, lambda a, b: ((a * a) + a) / 2 - 1),
    "random real": (numpy.float64, REAL, lambda a, b: GENERATOR.random(a.size)),
    "roll of a die": (numpy.int64, INTEGER, lambda a, b: GENERATOR.integers(1, 7, a.size)),
    "interval of integers": (numpy.int64, INTEGER, lambda a, b: numpy.arange(1, a.size + 1)),
    "interval of reals": (numpy.float64, REAL, lambda a, b: numpy.arange(0.5, a.size)),
    "interval of rounded reals": (numpy.float64, REAL, lambda a, b: numpy.arange(0.1, a.size)),
    "sum of reals": (numpy.float64, REAL, lambda a, b: a.sum()),
    "sum of integers": (numpy.int64, INTEGER, lambda a, b: a.sum()),
    "largest of reals": (numpy.float64, REAL, lambda a, b: a.max()),
    "all of truths": (numpy.bool_, TRUTHS_ALONE, lambda a, b: a.all()),
    "all of many truths": (numpy.bool_, TRUTHS_ALONE, lambda a, b: a.all()),
    "sums of each row": (numpy.float64, REAL, lambda a, b: a.reshape(SIDE, SIDE).sum(axis=1)),
    "sum of rows": (numpy.float64, REAL, lambda a, b: a.reshape(SIDE, SIDE).sum(axis=0)),
    "integer sums of each row": (numpy.int64, INTEGER, lambda a, b: a.reshape(SIDE, SIDE).sum(axis=1)),
    "integer sum of rows": (numpy.int64, INTEGER, lambda a, b: a.reshape(SIDE, SIDE).sum(axis=0)),
    "largest of rows": (numpy.float64, REAL, lambda a, b: a.reshape(SIDE, SIDE).max(axis=0)),
    "transposition": (numpy.float64, REAL, lambda a, b: a.reshape(SIDE, SIDE).T.copy()),
    "reversal": (numpy.float64, REAL, lambda a, b: a[::-1].copy()),
    "catenation": (numpy.float64, REAL, lambda a, b: numpy.concatenate((a, b))),
    "repetition to a shape": (numpy.float64, REAL, lambda a, b: numpy.resize(a[:3], (SIDE, SIDE))),
    "choice by a mask": (numpy.float64, REAL, lambda a, b: a[MASK]),
    "enlisting of pairs": (numpy.float64, REAL, lambda a, b: numpy.concatenate(PAIRS)),
    "MASK of three points": (numpy.float64, REAL, lambda a, b: numpy.convolve(a, (0.25, 0.5, 0.25), "same")),
    "writing of reals": (numpy.float64, REAL, lambda a, b: save("reals")),
    "reading of reals": (numpy.float64, REAL, lambda a, b: numpy.loadtxt(saved("reals"))),
    "writing of integers": (numpy.int64, INTEGER, lambda a, b: save("integers")),
    "reading of integers": (numpy.int64, INTEGER, lambda a, b: numpy.loadtxt(saved("integers"), dtype=numpy.int64)),
    "writing of a text": (numpy.int64, INTEGER, lambda a, b: save("text")),
    "reading of a text": (numpy.int64, INTEGER, lambda a, b: numpy.loadtxt(saved("text"), dtype=str, comments=None)),
    "complex * complex": (numpy.complex128, REAL, lambda a, b: a * b),
    "complex / complex": (numpy.complex128, REAL, lambda a, b: a / b),
    "absolute complex": (numpy.complex128, REAL, lambda a, b: numpy.abs(a)),
    "reciprocal of complex": (numpy.complex128, REAL, lambda a, b: 1 / a),
}


def best_seconds(work):
    """The least time of one call, over slices long enough for the clock."""
    work()
    start = time.perf_counter()
    work()
    once = time.perf_counter() - start
    calls = max(1, int(SLICE_SECONDS / max(once, 1e-7)))
    best = once
    for _ in range(REPEATS):
        start = time.perf_counter()
        for _ in range(calls):
            work()
        best = min(best, (time.perf_counter() - start) / calls)
    return best


def numpy_nanoseconds(name, items):
    if name not in WORK:
        return None
    kind, operands, work = WORK[name]
    a, b = (numpy.resize(numpy.array(values).astype(kind), items) for values in operands)
    return best_seconds(lambda: work(a, b)) / items * 1e9


def run_benchmark(executable, pattern):
    """The best nanoseconds an item of every row that matches."""
    output = subprocess.run(
        [executable, "--benchmark_format=json", "--benchmark_repetitions=3", "--benchmark_min_time=0.05",
         f"--benchmark_filter={pattern}"],
        check=True, stdout=subprocess.PIPE, stderr=subprocess.DEVNULL).stdout
    rows = {}
    for row in json.loads(output)["benchmarks"]:
        if row.get("run_type") != "iteration":
            continue
        name = SUFFIXES.sub("", row["name"])
        nanoseconds = 1e9 / row["items_per_second"]
        rows[name] = min(nanoseconds, rows.get(name, nanoseconds))
    return rows


def ratio(ours, other):
    return f"{ours / other:8.2f}" if other else "       -"


def print_arithmetic(executable, names):
    print(f"{'work':26}{'items':>9}{'ours':>8}{'two':>8}{'plain':>8}{'NumPy':>8}"
          f"{'one/two':>9}{'to plain':>9}{'to NumPy':>9}{'two to it':>10}")
    for name in names:
        owner, work, items = name.split("/") if name.count("/") == 2 else (name.split("/")[0], "/".join(
            name.split("/")[1:-1]), name.split("/")[-1])
        if owner != "ours":
            continue
        # All stand side by side in time too, as a shared machine changes its pace.
        escaped = SPECIAL.sub(lambda found: "\\" + found[0], work)
        pattern = f"^(ours|two|plain)/{escaped}/{items}(/|$)"
        rows = run_benchmark(executable, pattern)
        other = numpy_nanoseconds(work, int(items))
        ours, two, plain = (rows[f"{owner}/{work}/{items}"] for owner in ("ours", "two", "plain"))
        peer = f"{other:8.3f}" if other else "       -"
        print(f"{work:26}{items:>9}{ours:8.3f}{two:8.3f}{plain:8.3f}{peer} {ratio(ours, two)} {ratio(ours, plain)}"
              f" {ratio(ours, other)}  {ratio(two, other)}", flush=True)


def print_interpreter(executable):
    print(f"\n{'interpreter':40}{'ns each':>9}{'CPython':>9}{'Lua':>9}{'to CPython':>12}{'to Lua':>9}")
    for row, nanoseconds in run_benchmark(executable, "^ours/[^/]*$").items():
        name = row.split("/")[1]
        if name in peers.STEPS:
            # Once more, side by side in time with its peers.
            ours = run_benchmark(executable, f"^{row}$")[row]
            cpython, lua = peers.cpython_nanoseconds(name), peers.lua_nanoseconds()[name]
            print(f"{name:40}{ours:9.1f}{cpython:9.1f}{lua:9.1f}    {ratio(ours, cpython)} {ratio(ours, lua)}",
                  flush=True)
        else:
            print(f"{name:40}{nanoseconds:9.1f}")


def print_start(program):
    def start():
        subprocess.run([program, "-q"], stdin=subprocess.DEVNULL, stdout=subprocess.DEVNULL, check=True)

    def nothing():
        subprocess.run(["/bin/true"], stdin=subprocess.DEVNULL, stdout=subprocess.DEVNULL, check=True)

    print(f"\n{'start to exit of an empty input':40}{(best_seconds(start)) * 1e3:9.2f} ms"
          f"   (an empty process: {best_seconds(nothing) * 1e3:.2f} ms)")


def main():
    executable, program, *wanted = sys.argv[1:]
    listed = subprocess.run([executable, "--benchmark_list_tests"], check=True, stdout=subprocess.PIPE,
                            text=True).stdout.splitlines()
    names = [SUFFIXES.sub("", line) for line in listed]
    arithmetic = [name for name in names if name.rsplit("/", 1)[-1].isdigit()]
    print_arithmetic(executable, [name for name in arithmetic if not wanted or any(word in name for word in wanted)])
    if not wanted:
        print_interpreter(executable)
        print_start(program)


if __name__ == "__main__":
    main()
