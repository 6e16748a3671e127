"""Works the program for Linux and the one for Windows with the same keys and clicks, and compares what
the library saw, call by call, the picture on the screen, pixel by pixel, and the saved files, byte by
byte. Called with the folders of the two builds and the folder for screenshots; takes scripts/with_wine
and scripts/with_display."""
import pathlib
import re
import subprocess
import sys
import tempfile
import time

from program import Failure
from screen_program import LEFT, RIGHT, WHEEL_UP, ScreenProgram

# Pixels of the main window's client area, the same on both systems.
IMAGE_AREA = (5, 9, 738, 518)  # left, top, width, height, inside its frame
MIDDLE = (300, 250)
PAGE_RIGHT, PAGE_UP = (680, 537), (753, 60)  # of the scroll bars
# The timer asks for the devices again and again; how often is up to the time that passes.
POLL = re.compile(r"TarnGetDeviceList -> 0\n(?:TarnGetDeviceParam \d+ 1[45] -> 0\nTarnFreeObject\n)*"
                  r"TarnFreeObject\n")
BATTERY_POLL = re.compile(r"TarnGetDeviceParam \d+ 34 -> 0\nTarnFreeObject\n")


class Operated(ScreenProgram):
    """The program for one system, its log, and the pictures that it has shown."""

    rest = 0.4

    def __init__(self, build, folder, screenshots):
        super().__init__(build, folder, screenshots)
        self.pictures = {}
        self.images.mkdir()
        self.configure(seed=11, exposure_delay="never", arming_delay=0.3, readout_time=0.3)

    def path_in_program(self, path):
        return str(path)

    def end_session(self):
        self.process.terminate()

    def start(self):
        self.calls()
        self.launch()
        self.calls_until("TarnGetImageCount")
        self.main = self.window("^TarnTest$")
        self.find_corner()

    def find_corner(self):
        time.sleep(1)  # until the window manager has placed the window
        # Asked for the place of a window, xdotool counts the frame twice.
        corner = self.xdotool("mousemove", "--window", self.main, 0, 0, "getmouselocation", "--shell")
        self.left, self.top = (int(line[2:]) for line in corner[:2])

    def maximize(self):
        """Or back: a double click on the title bar."""
        self.press(self.at(300, -10), count=2)
        self.find_corner()

    def box(self, *keys, title="^Tarn test$"):
        """Waits for the box, takes a screenshot, presses the keys, and waits until it is gone."""
        self.window(title)
        time.sleep(0.5)  # a question ignores what comes too early
        self.keep_screenshot("box")
        self.key(*keys)
        self.wait(lambda: not self.visible_windows(title), f"the box {title} to close")
        time.sleep(0.5)  # until the keyboard is with the window below

    def at(self, x, y):
        """This point of the window, on the screen."""
        return self.left + x, self.top + y

    def type(self, key, text):
        """Into the field of this mnemonic, then leaves it."""
        self.key(key, "Home", "shift+End")
        self.xdotool("type", "--delay", 15, text)
        self.key("Tab")

    def picture(self, name):
        """Keeps the pixels of the image area when they no longer change."""
        self.xdotool("mousemove", *self.at(900, 520))
        self.pictures[name] = self.pixels_at_rest(*self.at(*IMAGE_AREA[:2]), *IMAGE_AREA[2:])
        self.keep_screenshot(name)

    def expose(self, press):
        """Arms the sensor and presses the hand switch."""
        self.calls()
        self.calls_until("TarnGetDeviceList")  # after which Enable takes input
        time.sleep(0.2)
        self.key("alt+e")
        self.calls_until("event 15")
        time.sleep(0.3)
        press()

    def expect_end(self):
        if super().expect_end() != 0:
            raise Failure("the library's objects are not freed")

    def calls_made(self):
        """Without the polls, and without what differs from run to run: times, addresses, threads."""
        lines = [line.partition(" ")[2] for line in self.trace_file.read_text().splitlines()]
        text = "\n".join(line for line in lines if not line.startswith(("event", "objects"))) + "\n"
        text = re.sub(r"(?m)^(TarnFreeObject) .*$", r"\1", text)
        text = re.sub(r"(?m)^(TarnOpen|Tarn\w+NotifyWindow) \w+", r"\1 WINDOW", text)
        text, polls = POLL.subn("", re.sub(r" +(->|$)", r" \1", text, flags=re.M))
        if polls < 10:
            raise Failure(f"only {polls} polls in the log\n{text}")
        return BATTERY_POLL.sub("", text).splitlines()

    def events(self):
        return re.findall(r"(?m)^\S+ (event .*)$", self.trace_file.read_text())


class OperatedUnderWine(Operated):
    files = ("TarnTest.exe", "Tarn.dll", "Quillet.dll")

    def path_in_program(self, path):
        return "Z:" + str(path).replace("/", "\\")

    def launch(self, executable=None):
        self.process = subprocess.Popen(["wine", "TarnTest.exe"], cwd=self.folder,
                                        env=self.environment, stderr=self.messages.open("a"))

    def end_session(self):
        subprocess.run(["wine", "wineboot", "--end-session"], env=self.environment, check=True)


def tour(program):
    program.start()
    program.expose(lambda: None)
    for ask in ("alt+x", "Escape"):
        program.key(ask)
        program.box("Return")  # refused while the sensor is armed
    program.keep_screenshot("preview")
    program.press(program.at(*MIDDLE))
    program.box("n")
    program.picture("image")
    program.expose(lambda: program.key("space"))
    program.box("y")
    program.calls_until("TarnRemoveImage")

    for field, value in (("alt+w", "1500"), ("alt+c", "2345"), ("alt+g", "2")):
        program.type(field, value)
        program.picture(f"field {field[-1]} {value}")
    program.key("alt+n")
    program.picture("negative")
    program.type("alt+g", "steep")
    program.box("Return")
    program.type("alt+g", "1")
    program.key("alt+n", "alt+z", "alt+z")
    program.picture("zoomed")
    program.press(program.at(*PAGE_RIGHT))
    program.press(program.at(*PAGE_UP))
    program.picture("panned")
    program.key("alt+m")
    program.picture("zoomed out once")
    program.key("alt+r")
    program.picture("whole")

    program.press(program.at(200, 300), WHEEL_UP)
    program.picture("zoomed around the pointer")
    program.drag_from_to(program.at(200, 300), program.at(350, 210), LEFT)
    program.picture("moved")
    program.drag_from_to(program.at(300, 300), program.at(340, 330), RIGHT)
    program.picture("other width and center")
    program.key("Up", "Left")
    program.picture("moved by keys")
    program.press(program.at(250, 200), count=2)
    program.picture("whole again")
    program.maximize()
    program.picture("maximized")
    program.maximize()
    program.picture("as opened")

    program.key("alt+p")
    program.window("^Inspector$")
    program.keep_screenshot("inspector")
    for key, windows in (("alt+s", 2), ("Return", 1), ("Escape", 0)):  # the box has the same title
        time.sleep(0.5)
        program.key(key)
        program.wait(lambda windows=windows: len(program.visible_windows("^Inspector$")) == windows,
                     f"{windows} windows of the inspector")
    time.sleep(0.5)

    program.key("alt+t")
    program.calls_until("TarnGetDeviceParam 1 34")
    program.window("Tolva Settings")
    program.key("alt+l")
    program.keep_screenshot("settings")
    program.box("Return", title="Tolva Settings")
    program.key("alt+i")
    program.box("Return")

    program.key("alt+v")
    program.expose(lambda: program.key("space"))
    program.calls_until("TarnRemoveImage")
    saved = program.wait(lambda: list(program.images.glob("*.Q32")), "a saved file")[0]
    program.picture("saved")
    program.key("alt+n")
    program.picture("saved, negative")
    program.key("alt+n", "alt+o")
    program.window("^Open")
    time.sleep(2)  # until it has listed the folder
    program.xdotool("type", "--delay", 15, program.path_in_program(saved))
    program.box("Return", title="^Open")
    program.picture("opened")

    program.key("alt+x")
    program.expect_end()

    # The end of the session finds a question open.
    program.start()
    program.box("n")  # about the image that was kept
    program.expose(lambda: program.key("space"))
    program.window("^Tarn test$")
    program.end_session()
    program.expect_end()
    return {file.name: file.read_bytes() for file in program.images.iterdir()}


def differences(linux, windows, files):
    yield from (f"file {name} differs" for name in files[0].keys() | files[1].keys()
                if files[0].get(name) != files[1].get(name))
    yield from (f"picture '{name}' differs" for name in linux.pictures
                if linux.pictures[name] != windows.pictures[name])
    for what, one, other in (("call", linux.made, windows.made), ("event", linux.seen, windows.seen)):
        if one != other:
            place = next((i for i, pair in enumerate(zip(one, other)) if pair[0] != pair[1]),
                         min(len(one), len(other)))
            yield "\n".join([f"{what} {place} differs:", *one[place - 3:place + 5], "and on Windows:",
                             *other[place - 3:place + 5]])
    if len(set(linux.pictures.values())) < 8:
        yield "too many pictures look the same"


def main(builds, screenshots):
    programs, files = [], []
    for build, kind in zip(builds, (Operated, OperatedUnderWine)):
        with tempfile.TemporaryDirectory() as scratch:
            program = kind(build, scratch, pathlib.Path(screenshots) / kind.__name__)
            try:
                files.append(tour(program))
            except Failure as failure:
                program.keep_screenshot("failed")
                sys.exit(f"two_systems: {kind.__name__}: {failure}\n{program.evidence()}")
            finally:
                program.kill()
            program.made, program.seen = program.calls_made(), program.events()
            programs.append(program)
    faults = list(differences(*programs, files))
    if faults:
        sys.exit("two_systems: " + "\n".join(faults))
    print(f"two_systems: {len(programs[0].made)} calls, {len(programs[0].seen)} events, "
          f"{len(programs[0].pictures)} pictures and {len(files[0])} files are the same; screenshots "
          f"in {screenshots}")


main(sys.argv[1:3], sys.argv[3])
