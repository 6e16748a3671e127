"""Measures the built program from outside: its start, what wakes it while nobody works with it, and its
memory with the largest image. Called by scripts/benchmarks: process_benchmark.py RESULT.json BUILD"""
import json
import pathlib
import re
import statistics
import sys
import time

from program import run_unattended

STARTS = 9
IDLE_SECONDS = 20.0
POLLING_PERIOD = 2.5
IMAGE_SIDE = 4096
IMAGE_BYTES = IMAGE_SIDE * IMAGE_SIDE * 2
MEMORY_ALLOWANCE = 40e6  # beside the library's copy of the image and the program's own


def start_seconds(program, executable, title):
    begin = time.monotonic()
    program.launch(executable)
    program.wait(lambda: program.visible_windows(title), f"the window {title}", pause=0)
    return time.monotonic() - begin


def starts(program, executable, title):
    seconds = []
    for _ in range(STARTS):
        seconds.append(start_seconds(program, executable, title))
        program.kill()
    return statistics.median(seconds)


def wake_ups(program):
    """How often the program's own threads went to sleep and woke. The library's thread looks at
    its hardware many times a second; it is named like the program but is not its first."""
    pid = str(program.process.pid)
    count = 0
    for task in pathlib.Path(f"/proc/{pid}/task").iterdir():
        if task.name == pid or (task / "comm").read_text() != "TarnTest\n":
            status = (task / "status").read_text()
            count += int(re.search(r"^voluntary_ctxt_switches:\s*(\d+)", status, re.M)[1])
    return count


def leave_image(program):
    """Leaves one image in the library's store: taken, not answered for, and the program gone. The
    simulated library needs more memory to draw an image than the program to show it."""
    program.start(image_width=IMAGE_SIDE, image_height=IMAGE_SIDE)
    program.arm()
    program.wait(program.stored_ids, "an image")
    program.kill()


def show_left_image(program):
    program.launch()
    program.wait(lambda: program.visible_windows("Tarn test"), "the question about stored images")
    program.urge("TarnFreeObject", "alt+y")  # of the record, when the image is on screen


def measure(program, empty_window):
    figures = {
        "start-up/TarnTest": starts(program, None, "TarnTest"),
        "start-up/empty window": starts(program, empty_window, "Empty window"),
    }
    program.start()
    before = wake_ups(program)
    time.sleep(IDLE_SECONDS)
    figures["wake-ups/TarnTest"] = wake_ups(program) - before
    figures["wake-ups/polls"] = IDLE_SECONDS / POLLING_PERIOD
    empty = program.resident("VmHWM")
    program.kill()
    leave_image(program)
    show_left_image(program)
    figures["memory/TarnTest"] = (program.resident("VmHWM") - empty) * 1024
    figures["memory/allowed"] = 2 * IMAGE_BYTES + MEMORY_ALLOWANCE
    return figures


if __name__ == "__main__":
    RESULT, BUILD = map(pathlib.Path, sys.argv[1:])
    EMPTY_WINDOW = BUILD / "bin" / "benchmarks" / "empty_window"
    FIGURES = run_unattended(BUILD, lambda program: measure(program, EMPTY_WINDOW))
    RESULT.write_text(json.dumps({"figures": FIGURES}, indent=1))
