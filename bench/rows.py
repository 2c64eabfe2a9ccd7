"""Times the work of the benchmark's rows in NumPy, starts the program, and prints one table.

Usage: rows.py BENCHMARK PROGRAM. BENCHMARK is the benchmark executable, whose rows are named owner/work or
owner/work/items; PROGRAM is the interpreter. All times are nanoseconds an item, the best of several runs.
"""

import json
import subprocess
import sys
import time

import numpy

import peers

REPEATS = 7
SLICE_SECONDS = 0.05

WORK = {
    "real + real": (numpy.float64, lambda a, b: a + b),
    "integer + integer": (numpy.int64, lambda a, b: a + b),
    "integer * scalar": (numpy.int64, lambda a, b: a * 3),
    "real / real": (numpy.float64, lambda a, b: a / b),
    "real maximum real": (numpy.float64, lambda a, b: numpy.maximum(a, b)),
    "complex * complex": (numpy.complex128, lambda a, b: a * b),
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
    kind, work = WORK[name]
    a = numpy.resize(numpy.array([1.5, 2.25]).astype(kind), items)
    b = numpy.resize(numpy.array([3.5, 4.75]).astype(kind), items)
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
        name = row["name"].split("/min_warmup_time")[0]
        nanoseconds = 1e9 / row["items_per_second"]
        rows[name] = min(nanoseconds, rows.get(name, nanoseconds))
    return rows


def ratio(ours, other):
    return f"{ours / other:8.2f}" if other else "       -"


def print_arithmetic(executable, names):
    print(f"{'work':26}{'items':>10}{'ours':>9}{'plain':>9}{'NumPy':>9}{'to plain':>10}{'to NumPy':>10}")
    for name in names:
        owner, work, items = name.split("/") if name.count("/") == 2 else (name.split("/")[0], "/".join(
            name.split("/")[1:-1]), name.split("/")[-1])
        if owner != "ours":
            continue
        # The three stand side by side in time too, as a shared machine changes its pace.
        pattern = "^(ours|plain)/" + work.replace("*", "\\*").replace("+", "\\+") + f"/{items}(/|$)"
        rows = run_benchmark(executable, pattern)
        other = numpy_nanoseconds(work, int(items))
        ours, plain = rows[f"ours/{work}/{items}"], rows[f"plain/{work}/{items}"]
        peer = f"{other:9.3f}" if other else "        -"
        print(f"{work:26}{items:>10}{ours:9.3f}{plain:9.3f}{peer}  {ratio(ours, plain)}  {ratio(ours, other)}",
              flush=True)


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
    executable, program = sys.argv[1:]
    listed = subprocess.run([executable, "--benchmark_list_tests"], check=True, stdout=subprocess.PIPE,
                            text=True).stdout.splitlines()
    names = [line.split("/min_warmup_time")[0] for line in listed]
    print_arithmetic(executable, [name for name in names if name.rsplit("/", 1)[-1].isdigit()])
    print_interpreter(executable)
    print_start(program)


if __name__ == "__main__":
    main()
