"""Kills the program at random moments while it saves images, and starts it again over its store and
its files. Called by scripts/kill_test with the build folder and the count."""
import random
import sys
import time

from conservation import Conservation
from program import Failure, run_unattended

SIZES = ({"image_width": 64, "image_height": 48}, {"image_width": 1300, "image_height": 1700})
KEPT_FILES = 60  # more than a run saves: each run meets files under the names it uses


def check(program, count):
    images = Conservation(program)
    for kills in range(count + 1):
        program.start(**SIZES[kills % len(SIZES)])
        # What the kill before left is judged now that the library has opened its store again.
        try:
            images.check(KEPT_FILES)
        except Failure as failure:
            raise Failure(f"after {kills} kills: {failure}") from failure
        if kills == count:
            break
        program.capture()
        kill_while_saving(program)
    stored = program.stored_ids()
    return f"{count} kills, {len(images.saved | stored)} images handed out, {len(images.saved)} " \
        f"saved whole, {len(stored)} in the store, {len(images.saved & stored)} of them in both, " \
        f"{images.cut_short} files cut short, 0 lost"


def kill_while_saving(program):
    """Kills it at most 80 ms after one of the next images got its file, mostly soon after."""
    before = len(list(program.images.glob("*")))
    files = before + random.randint(1, 12)
    program.wait(lambda: len(list(program.images.glob("*"))) >= files, "saved images", pause=0)
    time.sleep(0.08 * random.random() ** 3)
    program.kill()


if __name__ == "__main__":
    BUILD, COUNT = sys.argv[1], int(sys.argv[2])
    print("kill_test:", run_unattended(BUILD, lambda program: check(program, COUNT)), flush=True)
