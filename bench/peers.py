"""The work of the rows that are set beside CPython and Lua: the same steps, written as one would write them there."""

import pathlib
import subprocess
import time


def add_up():
    total = 0
    for i in range(1, 1000001):
        total += i
    assert total == 500000500000


def f(a, b):
    return a + b


def call():
    total = 0
    for i in range(1, 1000001):
        total = f(total, i)
    assert total == 500000500000


def fib(n):
    return n if n < 2 else fib(n - 1) + fib(n - 2)


def fib_24():
    assert fib(24) == 46368


# In pieces of a hundred names, as a sentence of ours has them.
SOURCES = ["".join(f"n{i} = {i}\nread = n{i}\n" for i in range(at, at + 100)) for at in range(0, 100000, 100)]


def names():
    scope = {}
    for source in SOURCES:
        exec(compile(source, "names", "exec"), scope)


STEPS = {
    "addition in a loop": (1000000, add_up),
    "call of a function in a loop": (1000000, call),
    "call of fib": (150049, fib_24),
    "name made and read": (100000, names),
}


def cpython_nanoseconds(name):
    steps, work = STEPS[name]
    best = float("inf")
    for _ in range(5):
        start = time.perf_counter()
        work()
        best = min(best, time.perf_counter() - start)
    return best / steps * 1e9


def lua_nanoseconds():
    script = pathlib.Path(__file__).with_name("peers.lua")
    lines = subprocess.run(["lua5.4", script], check=True, stdout=subprocess.PIPE, text=True).stdout.splitlines()
    return {name: float(nanoseconds) for name, nanoseconds in (line.split("\t") for line in lines)}
