#!/usr/bin/env python3
"""Prints the ratios of benchmarks/ratios.txt from the results of the benchmark programs.

usage: table.py RESULT.json...
"""
import json
import pathlib
import sys


def medians(paths):
    """Benchmark name -> nanoseconds: CPU time, or real time where the benchmark asks for it.
    Figures of the whole program come by name, in a unit of their own."""
    unit = {"ns": 1, "us": 1e3, "ms": 1e6, "s": 1e9}
    times = {}
    for path in paths:
        results = json.loads(pathlib.Path(path).read_text())
        times |= results.get("figures", {})
        for run in results.get("benchmarks", []):
            if run.get("aggregate_name") == "median":
                name, real, _ = run["run_name"].partition("/real_time")
                time = run["real_time" if real else "cpu_time"]
                times[name] = time * unit[run["time_unit"]]
    return times


def ratio(times, measured, against, case):
    """The ratio of two terms like "a/{} - b/{}" for the case, or None when one was not timed."""
    values = []
    for term in (measured, against):
        names = [name.strip().replace("{}", case) for name in term.split(" - ")]
        if not all(name in times for name in names):
            return None
        values.append(times[names[0]] - sum(times[name] for name in names[1:]))
    return values[0] / values[1]


def print_row(times, what, measured, against, goal, cases):
    """Prints the worst of the cases; returns whether its goal was missed."""
    ratios = [(ratio(times, measured, against, case), case) for case in cases]
    if any(value is None for value, _ in ratios):
        print(f"{what:<36}{cases[0]:<16}{'not timed':>10}")
        return False
    at_least = goal.startswith(">=")
    worst, case = min(ratios) if at_least else max(ratios)
    if not goal:
        print(f"{what:<36}{case:<16}{worst:>10.2f}")
        return False
    bound = float(goal.split()[1])
    met = worst >= bound if at_least else worst <= bound
    print(f"{what:<36}{case:<16}{worst:>10.2f}   {goal:<8} {'met' if met else 'MISSED'}")
    return not met


def main():
    times = medians(sys.argv[1:])
    missed = 0
    for line in pathlib.Path(__file__).with_name("ratios.txt").read_text().splitlines():
        if not line or line.startswith("#"):
            continue
        fields = [field.strip() for field in line.split("|")]
        if len(fields) == 1:
            print(f"\n{line:<52}{'ratio':>10}   goal")
            continue
        *row, groups = fields
        for group in groups.split(","):
            missed += print_row(times, *row, group.split())
    print(f"\n{missed} goals missed" if missed else "\nall goals met")


if __name__ == "__main__":
    main()
