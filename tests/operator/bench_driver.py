"""Works the built program from outside: finds controls by the names that a screen reader speaks,
sends real key and mouse events, takes pictures, and reads what the simulated library saw."""
import os
import pathlib
import re
import shutil
import subprocess
import time

import pyatspi

PATIENCE = 15.0  # seconds, for a machine that builds meanwhile
PROGRAM_FILES = ("TarnTest", "libplatform.so", "libTarn.so", "libQuillet.so")


class Bench:
    """One folder with a copy of the program, its simulator settings, its store and its log, so that
    a run leaves nothing beside the built program."""

    def __init__(self, build, scratch):
        self.pictures = pathlib.Path(build) / "tour"
        self.folder = pathlib.Path(scratch)
        self.trace_file, self.said = self.folder / "trace.log", self.folder / "stderr.log"
        self.settings = {"store_folder": self.folder / "store", "trace_file": self.trace_file}
        self.process, self.station, self.read_lines = None, "start", 0
        shutil.rmtree(self.pictures, ignore_errors=True)
        self.pictures.mkdir(parents=True)
        for name in PROGRAM_FILES:
            shutil.copy2(pathlib.Path(build) / "bin" / name, self.folder)
        pyatspi.Registry.getDesktop(0).set_cache_mask(0)  # nobody here serves change events

    # -- The program and its library

    def configure(self, **settings):
        """Changes the simulator's settings; a running library reads them anew."""
        self.settings |= settings
        new = self.folder / "settings.new"
        new.write_text("".join(f"{key} = {value}\n" for key, value in self.settings.items()))
        new.rename(self.folder / "settings.ini")

    def start(self):
        environment = os.environ | {"TARN_SIMULATOR": str(self.folder / "settings.ini")}
        self.process = subprocess.Popen([self.folder / "TarnTest"], env=environment,
                                        stderr=self.said.open("a"))
        self.find("TarnTest", "dialog", "frame")

    def expect_end(self):
        self.wait(lambda: self.process.poll() is not None, "the program to end")
        assert self.process.returncode == 0, f"the program ended with {self.process.returncode}"
        complaints = [line for line in self.complaints() if not line.endswith(" 0 not freed")]
        assert not complaints, complaints

    def complaints(self):
        """What the program and its libraries said, without the toolkit's own mutterings."""
        return [line for line in self.said.read_text().splitlines() if "AtSpi" not in line]

    def calls(self):
        """The log's lines since the last call of this, as "Name arguments"."""
        lines = self.trace_file.read_text().split("\n")[:-1]
        new, self.read_lines = lines[self.read_lines:], len(lines)
        return [line.partition(" ")[2] for line in new]

    def calls_until(self, name, count):
        """The calls from now until that one came so often."""
        calls = []
        self.wait(lambda: calls.extend(self.calls()) or sum(
            call.startswith(name) for call in calls) >= count, f"{count} calls of {name}", 40)
        return calls

    def limit_disk(self):
        """Puts a disk of 64 KiB under the folder of saved images; False where that is not allowed."""
        return not subprocess.run(["mount", "-t", "tmpfs", "-o", "size=64k", "tmpfs",
                                   self.folder / "TmpImages"], capture_output=True).returncode

    def free_disk(self):
        subprocess.run(["umount", "-q", "-l", self.folder / "TmpImages"], capture_output=True)

    def expect_calls(self, *patterns):
        """The library saw calls that match these patterns, in this order, others between them."""
        expect_order(self.calls(), *patterns)

    # -- What is on the screen

    def find(self, name, *roles):
        """The showing control of this name, waited for; a box is found by its caption."""
        return self.wait(lambda: self.look(name, *roles), f"{' or '.join(roles)} '{name}'")

    def look(self, name, *roles):
        return next((node for node in self.everything()
                     if name in (None, node.name) and (not roles or role(node) in roles)
                     and has(node, pyatspi.STATE_SHOWING)), None)

    def everything(self):
        """All controls, the newest window first."""
        for window in reversed(self.windows()):
            yield from descendants(window)

    def windows(self):
        return [window for application in pyatspi.Registry.getDesktop(0)
                if application and application.get_process_id() == self.process.pid
                for window in application if window]

    def main(self):
        return self.windows()[0]

    def gone(self, name, *roles):
        self.wait(lambda: not self.look(name, *roles), f"'{name}' to go")

    def expect(self, title=None, on=(), off=(), fields=None, checked=None):
        """The title; which buttons take input and which do not; texts of fields; boxes' ticks."""
        if title is not None:
            self.wait(lambda: re.fullmatch(title, self.main().name), f"title {title}")
        for names, state in ((on, True), (off, False)):
            for name in names:
                button = self.find(name, "push button")
                self.wait(lambda: has(button, pyatspi.STATE_SENSITIVE) == state,
                          f"'{name}' {'enabled' if state else 'disabled'}")
        for name, value in (fields or {}).items():
            self.wait(lambda: self.text(name) == value,
                      lambda: f"'{name}' to be {value}, is {self.text(name)}")
        for name, state in (checked or {}).items():
            node = self.find(name, "check box")
            self.wait(lambda: has(node, pyatspi.STATE_CHECKED) == state, f"'{name}' checked {state}")

    def text(self, name):
        return self.find(name, "text").queryText().getText(0, -1)

    def focus(self):
        return next((node.name for node in self.everything() if has(node, pyatspi.STATE_FOCUSED)), None)

    def answer(self, text, button, caption="Tarn test"):
        """Waits for the box with this text (a pattern), pictures it and presses its button."""
        box = self.find(caption, "alert")
        said = "".join(node.queryText().getText(0, -1) if role(node) == "text" else node.name
                       for node in descendants(box) if role(node) in ("label", "text"))
        assert re.fullmatch(text, said), f"box says {said!r}, not {text!r}"
        self.picture()
        self.click(next(node for node in descendants(box) if node.name.replace("&", "") == button))
        self.wait(lambda: not has(box, pyatspi.STATE_SHOWING), f"box '{said}' to close")

    def picture(self, suffix=""):
        """Keeps the screen around the main window as <number>-<station>.png."""
        x, y, width, height = place(self.main())
        area = f"{max(x - 1, 0)},{max(y - 21, 0)},{width + 2},{height + 26}"
        number = len(list(self.pictures.glob("*.png"))) + 1
        time.sleep(0.15)
        screenshot(self.pictures / f"{number:02}-{self.station}{suffix}.png", "-a", area)

    def shown(self, name="Image area"):
        """The pixels over a control, to compare with earlier ones."""
        area = ",".join(map(str, place(self.find(name))))
        return screenshot(self.folder / "area.png", "-a", area).read_bytes()

    def expect_other_picture(self, before):
        """Waits until the image area looks different, then for it to settle; returns its pixels."""
        self.wait(lambda: self.shown() != before, "the picture to change")
        return self.wait(lambda: (now := self.shown()) == self.shown() and now, "a picture at rest")

    # -- What the operator does

    def click(self, target, *roles, at=(0.5, 0.5)):
        """A click of the left button; at: where in the control, 0 to 1 from its left and top."""
        node = self.find(target, *roles) if isinstance(target, str) else target
        x, y, width, height = place(node)
        xdotool("mousemove", int(x + width * at[0]), int(y + height * at[1]), "click", 1)

    def key(self, *keys):
        xdotool("key", "--delay", 20, *keys)

    def type(self, field, value):
        """Replaces a field's text and leaves the field, away from "LUT wnd width:", which computes
        a new range whenever it is left."""
        self.click(field, "text")
        self.key("ctrl+a")
        xdotool("type", "--delay", 10, value)
        self.key("shift+Tab")

    def open_file(self, path, before_return=lambda: None):
        self.click("Open", "push button")
        self.find("File name:", "text")
        self.key("ctrl+a")
        xdotool("type", "--delay", 5, path)
        before_return()
        self.key("Return")

    def close_button(self):
        x, y, width, _ = place(self.main())
        xdotool("mousemove", x + width - 9, y - 11, "click", 1)

    def wait(self, condition, what, seconds=PATIENCE):
        end = time.monotonic() + seconds
        while True:
            try:
                if result := condition():
                    return result
            except Exception as gone:  # a control that went while it was looked at
                if "Atspi" not in repr(gone) and not isinstance(gone, (LookupError, AttributeError)):
                    raise
            if time.monotonic() > end:
                raise AssertionError(f"waited {seconds} s for {what() if callable(what) else what}")
            time.sleep(0.03)

    def evidence(self):
        """A picture, and what a screen reader would see, for the report of a failure."""
        lines = [f"  {role(node)} '{node.name}' {place(node)}" for node in self.everything()]
        screenshot(self.pictures / "failed.png")
        return "\n".join([f"picture: {self.pictures}/failed.png", *lines, *self.complaints()[-20:]])

    def kill(self):
        self.free_disk()
        if self.process and self.process.poll() is None:
            self.process.kill()
            self.process.wait()


def expect_order(calls, *patterns):
    rest = iter(calls)
    for number, pattern in enumerate(patterns, 1):
        assert any(re.search(pattern, call) for call in rest), \
            f"call {number}, {pattern}, is not in its turn among\n" + "\n".join(calls)


def descendants(node):
    yield node
    for child in node:
        if child:
            yield from descendants(child)


def role(node):
    return node.getRoleName()


def has(node, state):
    return node.getState().contains(state)


def place(node):
    box = node.queryComponent().getExtents(pyatspi.DESKTOP_COORDS)
    return box.x, box.y, box.width, box.height


def screenshot(target, *area):
    subprocess.run(["scrot", "--silent", "--overwrite", *area, target], check=True)
    return target


def xdotool(*arguments):
    subprocess.run(["xdotool", *map(str, arguments)], check=True)
