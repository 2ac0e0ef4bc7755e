"""Speed of the Python package against the bare library call (never a test).

    PYTHONPATH=build/release/python /usr/bin/python3 bench/python_bench.py [--rounds N]

Prints three figures with their targets:
  - the overhead of one qvi.convert call over the bare QVI_Convert call on a
    tiny frame (the library's own time for the same memory is measured in
    the same process, buffers made once, by the extension);
  - a 2448x2048 BAY8 to BGR24 conversion ('ave'), qvi.convert(..., out=)
    against the bare call, and the same with a new array for each call;
  - the frames per second of a stack of 2448x2048 frames with threads=2
    against threads=1, for BAY8 'ave' (which moves bytes more than it
    computes) and BAY12 'med'.
Calls alternate between the compared sides round by round and medians are
reported, so a busy machine slows both; the load average is printed too.
"""

import argparse
import os
import statistics
import time

import numpy as np

import qvi
from qvi import _qvi


def per_call(function, calls):
    """Median seconds of one call of `function`, each call timed alone."""
    times = []
    for _ in range(calls):
        t0 = time.perf_counter()
        function()
        times.append(time.perf_counter() - t0)
    return statistics.median(times)


def alternate(rounds, *sides):
    """Median over rounds of each side's median, the sides taking turns."""
    results = [[] for _ in sides]
    for _ in range(rounds):
        for result, side in zip(results, sides):
            result.append(side())
    return [statistics.median(r) for r in results]


def against_library(rng, width, height, calls, rounds):
    """Seconds per BAY8 to BGR24 call of the bare library call, of
    qvi.convert(out=) and of qvi.convert() making a new array."""
    src = rng.integers(0, 256, (height, width), np.uint8)
    out = np.empty((height, width, 3), np.uint8)
    return alternate(
        rounds,
        lambda: statistics.median(_qvi.time_library_convert(src, "BAY8", "BGR24", "ave", "A", out, calls)),
        lambda: per_call(lambda: qvi.convert(src, "BAY8", "BGR24", out=out), calls),
        lambda: per_call(lambda: qvi.convert(src, "BAY8", "BGR24"), calls),
    )


def main():
    parser = argparse.ArgumentParser(description=__doc__.splitlines()[0])
    parser.add_argument("--rounds", type=int, default=15, help="rounds of each measurement (default 15)")
    rounds = parser.parse_args().rounds
    rng = np.random.default_rng(1)
    rows = []

    library, with_out, allocating = against_library(rng, 8, 8, 2000, rounds)
    rows.append(("8x8 BAY8->BGR24: bare C call", f"{library * 1e6:.2f} us", "", ""))
    rows.append(("  overhead of qvi.convert(out=)", f"{(with_out - library) * 1e6:.2f} us", "< 5 us",
                 with_out - library < 5e-6))
    rows.append(("  overhead of qvi.convert()", f"{(allocating - library) * 1e6:.2f} us", "< 5 us",
                 allocating - library < 5e-6))

    library, with_out, allocating = against_library(rng, 2448, 2048, 5, rounds)
    rows.append(("2448x2048 BAY8->BGR24 ave: bare C call", f"{library * 1e3:.2f} ms", "", ""))
    rows.append(("  qvi.convert(out=) / C call", f"{with_out / library:.3f}", "<= 1.03", with_out / library <= 1.03))
    rows.append(("  qvi.convert() / C call (new array)", f"{allocating / library:.3f}", "", ""))

    frames = 8
    for name, top, method in (("BAY8", 256, "ave"), ("BAY12", 4096, "med")):
        stack = rng.integers(0, top, (frames, 2048, 2448)).astype(qvi.formats()[name].dtype)
        stack_out = np.empty((frames, 2048, 2448, 3), np.uint8)

        def run(threads):
            return lambda: per_call(
                lambda: qvi.convert(stack, name, "BGR24", method=method, out=stack_out, threads=threads), 1)

        one, two = alternate(max(rounds // 3, 3), run(1), run(2))
        rows.append((f"stack of {frames} 2448x2048 {name}->BGR24 {method}, threads=1", f"{frames / one:.1f} fps", "", ""))
        rows.append(("  threads=2 / threads=1", f"{one / two:.2f}", ">= 1.8", one / two >= 1.8))

    print(f"qvi {qvi.__version__}, {os.cpu_count()} cores, load average {os.getloadavg()[0]:.2f} "
          f"(medians of {rounds} rounds)")
    for what, value, target, met in rows:
        verdict = "" if target == "" else ("met" if met else "NOT met")
        print(f"{what:48s} {value:>12s}  {target:>8s}  {verdict}")


if __name__ == "__main__":
    main()
