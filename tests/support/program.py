"""Runs a copy of the built program with the simulated libraries, in a folder and on a display of its
own: its settings, its store, its log, its saved images, its windows and keys. The display comes from
scripts/with_display."""
import collections
import os
import pathlib
import re
import shutil
import subprocess
import sys
import tempfile
import time

FILES = ("TarnTest", "libplatform.so", "libTarn.so", "libQuillet.so")
LAUNCHER = "/usr/bin/tarntest-simulated"
FAST = {
    "time_factor": 100, "arming_delay": 0.1, "exposure_delay": 0.1, "exposure_time": 0.1,
    "readout_time": 0.1, "inactivity_timeout": 0, "battery_per_exposure": 0,
}


class Failure(Exception):
    """A check that failed, or a program that makes no progress."""


class Program:
    """A copy of the program that leaves nothing beside the built one."""

    files = FILES
    patience = 60.0  # seconds without progress, on a machine that builds at the same time

    def __init__(self, build, folder):
        """build: its folder, or None for the installed program, which its launcher starts."""
        self.folder = pathlib.Path(folder)
        self.store, self.removed = self.folder / "store", self.folder / "removed"
        self.executable = self.folder / "TarnTest" if build else pathlib.Path(LAUNCHER)
        self.command = pathlib.Path(build) / "bin/q32" if build else "q32"
        self.name = "TarnTest" if build else "TarnTest-Simulated"
        self.images = (self.folder if build else self.folder / self.name) / "TmpImages"
        self.trace_file, self.messages = self.folder / "trace.log", self.folder / "stderr.log"
        self.settings = {"store_folder": self.store, "trace_file": self.trace_file}
        self.environment = os.environ | {"TARN_SIMULATOR": str(self.folder / "settings.ini"),
                                         "HOME": str(self.folder)}
        self.process, self._read_bytes = None, 0
        for name in self.files if build else ():
            shutil.copy2(pathlib.Path(build) / "bin" / name, self.folder)

    def configure(self, **settings):
        """Changes settings of the simulated library; a running one reads them again."""
        self.settings |= settings
        new = self.folder / "settings.new"
        new.write_text("".join(f"{key} = {value}\n" for key, value in self.settings.items()))
        new.rename(self.folder / "settings.ini")

    def launch(self, executable=None):
        """Starts the program, or another one in its place."""
        self.process = subprocess.Popen([executable or self.executable],
                                        env=self.environment, stderr=self.messages.open("a"))

    def kill(self):
        if self.process and self.process.poll() is None:
            self.process.kill()
            self.process.wait()

    def wait_for_end(self):
        """Returns the exit status."""
        try:
            return self.process.wait(self.patience)
        except subprocess.TimeoutExpired:
            raise Failure("the program does not end") from None

    def expect_end(self):
        """Waits for an end in order; returns how many of the library's objects were not freed."""
        status = self.wait_for_end()
        objects = re.findall(r"objects handed out, (\d+) not freed", self.trace_file.read_text())
        if status != 0 or not objects:
            raise Failure(f"the program ended with {status}")
        return int(objects[-1])

    def calls(self):
        """The log's whole lines since the last call of this, as "Name arguments -> result"."""
        if not self.trace_file.exists():
            return []
        with self.trace_file.open("rb") as trace:
            trace.seek(self._read_bytes)
            lines = trace.read().rpartition(b"\n")
        self._read_bytes += len(lines[0] + lines[1])
        return [line.partition(" ")[2] for line in lines[0].decode().split("\n") if line]

    def calls_until(self, name, count=1, urge=lambda: None):
        """Waits until the log has so many new lines that begin so, and returns all new ones. What
        urges the program is repeated every half second."""
        calls, urged = [], 0.0

        def came():
            nonlocal urged
            calls.extend(self.calls())
            if sum(call.startswith(name) for call in calls) >= count:
                return True
            if time.monotonic() > urged + 0.5:
                urge()
                urged = time.monotonic()
            return False
        self.wait(came, f"{count} calls of {name}")
        return calls

    def wait(self, condition, what, seconds=None, pause=0.02):
        """Waits until the condition is true and returns its value; what: a text, or a function that
        makes it when the time is up."""
        seconds = seconds or self.patience
        end = time.monotonic() + seconds
        while not (result := condition()):
            if self.process and self.process.poll() is not None:
                raise Failure(f"the program ended with {self.process.returncode}")
            if time.monotonic() > end:
                raise Failure(f"waited {seconds:.0f} s for {what() if callable(what) else what}")
            time.sleep(pause)
        return result

    def key(self, *keys):
        self.xdotool("key", "--delay", 20, *keys)

    def visible_windows(self, title):
        """The windows on the display whose titles hold this."""
        return self.xdotool("search", "--onlyvisible", "--name", title)

    def window(self, title):
        return self.wait(lambda: self.visible_windows(title), f"the window {title}")[-1]

    def xdotool(self, *arguments):
        return subprocess.run(["xdotool", *map(str, arguments)], env=self.environment, text=True,
                              capture_output=True).stdout.split("\n")[:-1]

    def evidence(self):
        """The windows and the last lines of the logs, for the report of a failure."""
        lines = [f"window: {self.xdotool('getwindowname', window)[0]}"
                 for window in self.visible_windows("arn")]
        for log in (self.trace_file, self.messages):
            if log.exists():
                lines += log.read_text().splitlines()[-15:]
        return "\n".join(lines)


class UnattendedProgram(Program):
    """The program at the simulator's full speed, armed again after every image and saving all."""

    def __init__(self, build, folder):
        super().__init__(build, folder)
        self.configure(**FAST)
        # Freed images go back to the system at once: what stays resident is in use.
        self.environment |= {"MALLOC_MMAP_THRESHOLD_": "131072",
                             "MALLOC_TRIM_THRESHOLD_": "131072"}

    def start(self, **settings):
        """Starts the program and keeps what its store already has."""
        self.configure(**settings)
        has_images = any(self.store.glob("*.tarn"))
        self.calls()
        self.launch()
        self.calls_until("TarnGetImageCount")
        if has_images:
            self.window("Tarn test")
            self.urge("TarnGetDeviceList", "alt+n")

    def capture(self):
        """Ticks "Auto save images" and begins."""
        self.xdotool("windowactivate", "--sync", self.window("TarnTest"))
        self.key("alt+v")
        self.resume()

    def resume(self):
        """Ticks "Auto enable" and arms."""
        self.key("alt+u")
        self.arm()

    def arm(self):
        """Presses Enable as soon as the button allows."""
        self.urge("TarnEnableCapture", "alt+e")

    def urge(self, call, key):
        """Presses the key until the program makes the call once more."""
        self.calls()
        self.calls_until(call, urge=lambda: self.key(key))

    def rest(self):
        """Unticks "Auto enable" and waits until no image comes any more."""
        self.key("alt+u")
        last = 0
        while last != (last := self.last_id()):
            time.sleep(2)

    def terminate(self):
        """Ends the program by SIGTERM. Returns how many of the library's objects were not freed."""
        self.process.terminate()
        return self.expect_end()

    def last_id(self):
        """The number of the image that the library began last; numbers count from 1."""
        file = self.store / "last-id"
        return int(file.read_text() or 0) if file.exists() else 0

    def stored_ids(self):
        """The numbers of the images in the library's store."""
        return {int(path.stem) for path in self.store.glob("*.tarn")}

    def resident(self, figure="VmRSS"):
        """Resident memory in KiB; VmHWM is its highest value."""
        status = pathlib.Path(f"/proc/{self.process.pid}/status").read_text()
        return int(re.search(figure + r":\s*(\d+)", status)[1])

    def handles(self):
        """How many of each kind are open: files, sockets, timers, ... and threads."""
        process = pathlib.Path(f"/proc/{self.process.pid}")
        kinds = collections.Counter({"threads": len(list((process / "task").iterdir()))})
        for link in (process / "fd").iterdir():
            try:
                target = os.readlink(link)
            except FileNotFoundError:
                continue  # closed meanwhile
            kinds[re.sub(r":\[\d+\]$", "", target)] += 1
        timers = process / "timers"
        kinds["interval timers"] = timers.read_text().count("ID:") if timers.exists() else 0
        return kinds


def run_unattended(build, check):
    """Returns what check(program) returns; when it fails, ends with the reason and the evidence."""
    memory_disk = "/dev/shm" if os.access("/dev/shm", os.W_OK) else None
    name = pathlib.Path(sys.argv[0]).stem
    with tempfile.TemporaryDirectory(prefix=name, dir=memory_disk) as folder:
        program = UnattendedProgram(build, folder)
        try:
            return check(program)
        except Failure as failure:
            sys.exit(f"{name}: {failure}\n{program.evidence()}")
        finally:
            program.kill()
