#!/usr/bin/env python3
"""Prints the ratios of bench/ratios.txt from the results of the benchmark programs.

usage: table.py RESULT.json...
"""
import json
import pathlib
import sys


def medians(paths):
    """Benchmark name -> nanoseconds: CPU time, or real time where the benchmark asks for it."""
    unit = {"ns": 1, "us": 1e3, "ms": 1e6, "s": 1e9}
    times = {}
    for path in paths:
        for run in json.loads(pathlib.Path(path).read_text())["benchmarks"]:
            if run.get("aggregate_name") != "median":
                continue
            name, _, suffix = run["run_name"].partition("/real_time")
            kind = "real_time" if run["run_name"].endswith("/real_time") else "cpu_time"
            times[name + suffix] = run[kind] * unit[run["time_unit"]]
    return times


def rows(text):
    """Yields the lines of ratios.txt: a heading alone, or what, measured, against, goal, case."""
    for line in text.splitlines():
        if not line.strip() or line.startswith("#"):
            continue
        if "|" not in line:
            yield (line,)
            continue
        what, measured, against, goal, cases = (field.strip() for field in line.split("|"))
        for case in cases.split(","):
            case = case.strip()
            yield what, measured.replace("{}", case), against.replace("{}", case), goal, case


def main():
    times = medians(sys.argv[1:])
    missed = 0
    for row in rows(pathlib.Path(__file__).with_name("ratios.txt").read_text()):
        if len(row) == 1:
            print(f"\n{row[0]:<50}{'ratio':>10}   {'goal':<8}")
            continue
        what, measured, against, goal, case = row
        if measured not in times or against not in times:
            print(f"{what:<36}{case:<14}{'not measured':>12}")
            continue
        ratio = times[measured] / times[against]
        bound = float(goal.split()[1])
        met = ratio <= bound if goal.startswith("<=") else ratio >= bound
        missed += not met
        print(f"{what:<36}{case:<14}{ratio:>10.2f}   {goal:<8} {'met' if met else 'MISSED'}")
    print(f"\n{missed} goals missed" if missed else "\nall goals met")


if __name__ == "__main__":
    main()
