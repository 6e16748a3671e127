"""The program on a screen: the mouse at a point of it, and screenshots, numbered in their order."""
import pathlib
import shutil
import subprocess
import time

from program import Program

LEFT, RIGHT, WHEEL_UP = 1, 3, 4  # buttons


class ScreenProgram(Program):
    """The program, and what of an operator does not depend on how controls are found."""

    def __init__(self, build, folder, screenshots):
        super().__init__(build, folder)
        self.screenshots = pathlib.Path(screenshots)
        shutil.rmtree(self.screenshots, ignore_errors=True)
        self.screenshots.mkdir(parents=True)

    def press(self, point, button=LEFT, count=1):
        self.xdotool("mousemove", *point, "click", "--repeat", count, "--delay", 50, button)

    def drag_from_to(self, begin, end, button=LEFT, key=None):
        """With a key held down."""
        self.xdotool(*(("keydown", key) if key else ()), "mousemove", *begin, "mousedown", button)
        for share in (0.3, 0.6, 1):
            self.xdotool("mousemove", *(round(a + share * (b - a)) for a, b in zip(begin, end)))
            time.sleep(0.1)
        self.xdotool("mouseup", button, *(("keyup", key) if key else ()))

    def keep_screenshot(self, name, *area):
        """As <number>-<name>.png. area: left, top, width and height; none for the whole screen."""
        number = len(list(self.screenshots.glob("*.png"))) + 1
        shoot(self.screenshots / f"{number:02}-{name}.png", area)

    def pixels(self, *area):
        return shoot(self.folder / "area.ppm", area).read_bytes()

    def pixels_at_rest(self, *area):
        def at_rest():
            now = self.pixels(*area)
            time.sleep(self.rest)
            return now == self.pixels(*area) and now
        return self.wait(at_rest, "a picture at rest")


def shoot(file, area):
    words = ["--autoselect", ",".join(map(str, area))] if area else []
    subprocess.run(["scrot", "--silent", "--overwrite", *words, file], check=True)
    return file
