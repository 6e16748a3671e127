#!/usr/bin/env python3
"""Measures the built program from outside, on a display of its own: its start, what wakes it while
nobody works with it, and its memory with the largest picture. process_benchmark.py RESULT.json BUILD"""
import json
import pathlib
import re
import statistics
import sys
import tempfile
import time

sys.dont_write_bytecode = True
sys.path.insert(0, str(pathlib.Path(__file__).resolve().parent.parent / "scripts"))
import bench_process

STARTS = 9
IDLE_SECONDS = 20.0
POLLING_PERIOD = 2.5
IMAGE_SIDE = 4096
IMAGE_BYTES = IMAGE_SIDE * IMAGE_SIDE * 2
MEMORY_ALLOWANCE = 40e6  # beside the library's copy of the image and the program's own


def start_seconds(bench, program, title):
    begin = time.monotonic()
    bench.launch(program)
    bench.wait(lambda: bench.windows(title), f"the window {title}", pause=0)
    return time.monotonic() - begin


def starts(bench, program, title):
    seconds = []
    for _ in range(STARTS):
        seconds.append(start_seconds(bench, program, title))
        bench.kill()
    return statistics.median(seconds)


def wake_ups(bench):
    """How often the program's own threads went to sleep and woke. The library's thread looks at
    its hardware many times a second; it is named like the program but is not its first."""
    pid = str(bench.process.pid)
    count = 0
    for task in pathlib.Path(f"/proc/{pid}/task").iterdir():
        if task.name == pid or (task / "comm").read_text() != "TarnTest\n":
            status = (task / "status").read_text()
            count += int(re.search(r"^voluntary_ctxt_switches:\s*(\d+)", status, re.M)[1])
    return count


def leave_image(bench):
    """Leaves one image in the library's store: taken, not answered for, and the program gone. The
    simulated library needs more memory to draw an image than the program to show it."""
    bench.start(image_width=IMAGE_SIDE, image_height=IMAGE_SIDE)
    bench.arm()
    bench.wait(bench.stored_ids, "an image")
    bench.kill()


def show_left_image(bench):
    bench.launch(bench.folder / "TarnTest")
    bench.wait(lambda: bench.windows("Tarn test"), "the question about stored images")
    bench.urge("TarnFreeObject", "alt+y")  # of the record, when the image is on screen


def measure(bench, empty_window):
    figures = {
        "start-up/TarnTest": starts(bench, bench.folder / "TarnTest", "TarnTest"),
        "start-up/empty window": starts(bench, empty_window, "Empty window"),
    }
    bench.start()
    before = wake_ups(bench)
    time.sleep(IDLE_SECONDS)
    figures["wake-ups/TarnTest"] = wake_ups(bench) - before
    figures["wake-ups/polls"] = IDLE_SECONDS / POLLING_PERIOD
    empty = bench.resident("VmHWM")
    bench.kill()
    leave_image(bench)
    show_left_image(bench)
    figures["memory/TarnTest"] = (bench.resident("VmHWM") - empty) * 1024
    figures["memory/allowed"] = 2 * IMAGE_BYTES + MEMORY_ALLOWANCE
    return figures


def main():
    result, build = map(pathlib.Path, sys.argv[1:])
    with tempfile.TemporaryDirectory(dir="/dev/shm") as scratch:
        bench = bench_process.BenchProcess(build / "bin", pathlib.Path(scratch))
        try:
            bench.open_display()
            figures = measure(bench, build / "bin" / "benchmarks" / "empty_window")
        except bench_process.Failure as failure:
            sys.exit(f"process_benchmark: {failure}\n{bench.evidence()}")
        finally:
            bench.end()
    result.write_text(json.dumps({"figures": figures}, indent=1))


if __name__ == "__main__":
    main()
