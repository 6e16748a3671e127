"""The program as an operator with a screen reader meets it: finds controls by their accessible names,
sends real key and mouse events, takes screenshots, and reads what the simulated library saw."""
import pathlib
import re
import subprocess
import sys
import time

import pyatspi

from screen_program import ScreenProgram


class OperatedProgram(ScreenProgram):
    """The program and all that an operator sees of it and does with it."""

    patience = 15.0  # seconds, on a machine that builds at the same time
    rest = 0

    def __init__(self, build, folder, screenshots):
        super().__init__(build, folder, screenshots)
        self.environment |= {"QT_LINUX_ACCESSIBILITY_ALWAYS_ON": "1"}
        self.step, self.portal = "start", None
        pyatspi.Registry.getDesktop(0).set_cache_mask(0)  # nobody here serves change events

    # -- The program and its library

    def start(self):
        self.launch()
        self.find("TarnTest", "dialog", "frame")

    def expect_end(self):
        super().expect_end()
        errors = [line for line in self.own_messages() if not line.endswith(" 0 not freed")]
        assert not errors, errors
        self.expect_calls("TarnClearNotifyWindow", "TarnClose")

    def own_messages(self):
        """What the program and its libraries wrote, without the toolkit's own messages and what the
        launcher's first run says."""
        first_run = f"{self.name}: images will be saved in {self.images}"
        return [line for line in self.messages.read_text().splitlines()
                if "AtSpi" not in line and line != first_run]

    def window_class(self):
        """The two names by which a desktop finds the desktop file of a window."""
        return subprocess.run(["xprop", "-id", self.window("TarnTest"), "WM_CLASS"],
                              env=self.environment, text=True,
                              capture_output=True).stdout.partition(" = ")[2].strip()

    def limit_disk(self):
        """Mounts a disk of 64 KiB as the folder of saved images; False where that is not allowed."""
        return not subprocess.run(["mount", "-t", "tmpfs", "-o", "size=64k", "tmpfs", self.images],
                                  capture_output=True).returncode

    def free_disk(self):
        subprocess.run(["umount", "-q", "-l", self.images], capture_output=True)

    def expect_calls(self, *patterns):
        """The library saw calls that match these patterns, in this order, others between them."""
        calls = self.calls()
        rest = iter(calls)
        for number, pattern in enumerate(patterns, 1):
            assert any(re.search(pattern, call) for call in rest), \
                f"call {number}, {pattern}, is not in its turn among\n" + "\n".join(calls)

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

    def expect(self, title=None, on=(), off=(), fields=None, checked=None, focus=None):
        """The title; which buttons take input and which do not; texts of fields; boxes' ticks; where
        the keyboard is."""
        if title is not None:
            self.wait(lambda: re.fullmatch(title, self.main().name), f"title {title}")
        if focus is not None:
            self.wait(lambda: self.focus() == focus, lambda: f"{focus}, the keyboard is at {self.focus()}")
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

    def value(self, name):
        """What a screen reader says about a value: a label or picture that has a name of its own."""
        return next((node.description for node in self.everything()
                     if node.name == name and node.description), "")

    def focus(self):
        return next((node.name for node in self.everything() if has(node, pyatspi.STATE_FOCUSED)), None)

    def answer(self, text, button, caption="Tarn test"):
        """Waits for the box with this text (a pattern), takes a screenshot and presses its button."""
        box = self.find(caption, "alert")
        said = "".join(node.queryText().getText(0, -1) if role(node) == "text" else node.name
                       for node in descendants(box) if role(node) in ("label", "text"))
        assert re.fullmatch(text, said), f"box says {said!r}, not {text!r}"
        self.take_screenshot()
        time.sleep(0.4)  # a question ignores what comes too early
        self.click(next(node for node in descendants(box) if node.name.replace("&", "") == button))
        self.wait(lambda: not has(box, pyatspi.STATE_SHOWING), f"box '{said}' to close")

    def take_screenshot(self, suffix="", window=None):
        """Keeps the screen around a window, the main one by default, as <number>-<step>.png."""
        x, y, width, height = place(window or self.main())
        time.sleep(0.15)
        self.keep_screenshot(self.step + suffix, max(x - 1, 0), max(y - 21, 0), width + 2, height + 26)

    def shown(self):
        """The pixels of the image area, to compare with earlier ones."""
        return self.pixels(*self.place("Image area"))

    def expect_other_picture(self, before):
        """Waits until the image area looks different, then for it to settle; returns its pixels."""
        self.wait(lambda: self.shown() != before, "the picture to change")
        return self.pixels_at_rest(*self.place("Image area"))

    # -- What the operator does

    def click(self, target, *roles, at=(0.5, 0.5), **press):
        """at: where in the control, 0 to 1 from its left and top."""
        node = self.find(target, *roles) if isinstance(target, str) else target
        self.press(point(node, at), **press)

    def drag(self, name, begin, end, **drag):
        """Between two places in the control as in click."""
        node = self.find(name)
        self.drag_from_to(point(node, begin), point(node, end), **drag)

    def maximize(self):
        """Or back: a double click on the title bar."""
        x, y, width, _ = place(self.main())
        self.press((x + width // 2, max(y - 10, 5)), count=2)

    def place(self, name):
        return place(self.find(name))

    def right_margin(self, name):
        x, _, width, _ = place(self.main())
        own = self.place(name)
        return x + width - own[0] - own[2]

    def set_color_scheme(self, scheme):
        if self.portal is None:
            script = pathlib.Path(__file__).with_name("desktop_portal.py")
            self.portal = subprocess.Popen([sys.executable, script, scheme], text=True,
                                           stdin=subprocess.PIPE, stdout=subprocess.PIPE)
            assert self.portal.stdout.readline() == "ready\n", "no desktop portal"
        else:
            self.portal.stdin.write(scheme + "\n")
            self.portal.stdin.flush()

    def is_dark(self):
        """The window's background, left of and below the picture."""
        x, y, _, height = place(self.main())
        return self.pixels(x, y + height - 2, 1, 1)[-1] < 128

    def type(self, field, value):
        """Replaces a field's text and leaves the field, away from "LUT wnd width:", which computes
        a new range whenever it is left."""
        self.click(field, "text")
        self.key("ctrl+a")
        self.xdotool("type", "--delay", 10, value)
        self.key("shift+Tab")

    def open_file(self, path, before_return=lambda: None):
        self.click("Open", "push button")
        self.find("File name:", "text")
        self.key("ctrl+a")
        self.xdotool("type", "--delay", 5, path)
        before_return()
        self.key("Return")

    def close_button(self):
        x, y, width, _ = place(self.main())
        self.press((x + width - 9, y - 11))

    def wait(self, condition, what, seconds=None, pause=0.03):
        return super().wait(lambda: look_again(condition), what, seconds, pause)

    def evidence(self):
        """A screenshot, and what a screen reader would tell, for the report of a failure."""
        lines = [f"  {role(node)} '{node.name}' {place(node)}" for node in self.everything()]
        self.keep_screenshot("failed")
        return "\n".join([f"screenshots: {self.screenshots}", *lines, *self.own_messages()[-20:]])

    def kill(self):
        if self.portal is not None:
            self.portal.stdin.close()
            self.portal.wait()
        self.free_disk()
        super().kill()


def look_again(condition):
    """The condition's value; false when a control went while it was looked at."""
    try:
        return condition()
    except Exception as gone:
        if "Atspi" not in repr(gone) and not isinstance(gone, (LookupError, AttributeError)):
            raise
        return None


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


def point(node, at):
    x, y, width, height = place(node)
    return int(x + width * at[0]), int(y + height * at[1])
