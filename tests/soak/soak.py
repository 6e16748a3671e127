"""Takes and saves images without a pause, and compares memory and handles of the program after the
first of them with those at the end. Called by scripts/soak with the build folder and the count."""
import sys
import time

from conservation import Conservation
from program import Failure, run_unattended

KEPT_FILES = 100
MEMORY_BOUND = 0.01  # of the resident memory after the first images


def check(program, count):
    images = Conservation(program)
    program.start(image_width=64, image_height=48)
    program.capture()
    begin = time.monotonic()
    first = min(1000, count * 3 // 5)  # the allocator has its full working set after some hundred
    memory, handles = take_images(program, first, images)
    program.resume()
    memory_end, handles_end = take_images(program, count, images)
    seconds = time.monotonic() - begin
    outstanding = program.terminate()
    images.check(KEPT_FILES)
    stored, last = program.stored_ids(), program.last_id()

    lost = set(range(1, last + 1)) - images.saved - stored
    both = images.saved & stored
    growth = memory_end / memory - 1
    timers = handles_end["anon_inode:[timerfd]"] + handles_end["interval timers"]
    figures = f"{last} images in {seconds:.0f} s, {len(images.saved)} saved, {len(stored)} in the " \
        f"store, {len(lost)} lost, resident {memory} KiB after {first}, {memory_end} KiB at the " \
        f"end ({growth:+.2%}), {handles_end.total() - handles_end['threads']} open files, " \
        f"{handles_end['threads']} threads, {timers} timers, {outstanding} objects outstanding"
    if lost or both or images.cut_short or outstanding or abs(growth) > MEMORY_BOUND or \
            handles != handles_end:
        more, fewer = handles_end - handles, handles - handles_end
        raise Failure(f"{figures}; lost {sorted(lost)[:20]}, saved and in the store "
                      f"{sorted(both)[:20]}, {images.cut_short} files cut short, "
                      f"opened {dict(more)}, closed {dict(fewer)}")
    return figures


def take_images(program, count, images):
    """Takes images up to that number; returns the memory and the handles of the program at rest."""
    while (before := program.last_id()) < count:
        images.check(KEPT_FILES)
        program.wait(lambda: program.last_id() > before, f"an image after number {before}")
        time.sleep(0.2)
    program.rest()
    return program.resident(), program.handles()


if __name__ == "__main__":
    BUILD, COUNT = sys.argv[1], int(sys.argv[2])
    print("soak:", run_unattended(BUILD, lambda program: check(program, COUNT)), flush=True)
