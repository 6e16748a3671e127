"""Runs the built program unattended on a virtual display, always arming again and saving every
image, and tells what became of the images. For scripts/soak and scripts/kill_test."""
import array
import collections
import os
import pathlib
import re
import shutil
import struct
import subprocess
import sys
import tempfile
import time

SOURCE = pathlib.Path(__file__).resolve().parent.parent
PROGRAM_FILES = ("TarnTest", "libplatform.so", "libTarn.so", "libQuillet.so")
SETTINGS = {
    "time_factor": 100, "arming_delay": 0.1, "exposure_delay": 0.1, "exposure_time": 0.1,
    "readout_time": 0.1, "inactivity_timeout": 0, "battery_per_exposure": 0,
}
PATIENCE = 60.0  # seconds without progress, on a machine that builds meanwhile


class Failure(Exception):
    """A figure out of bounds, or a program that does not go on."""


def run(check, default_count):
    """A script's main: check(bench, count) returns its line of figures or raises Failure."""
    count = int(sys.argv[1]) if len(sys.argv) > 1 else default_count
    build = pathlib.Path(sys.argv[2]) if len(sys.argv) > 2 else SOURCE / "build" / "release"
    name = pathlib.Path(sys.argv[0]).name
    memory_disk = "/dev/shm" if os.access("/dev/shm", os.W_OK) else None
    with tempfile.TemporaryDirectory(prefix=name, dir=memory_disk) as scratch:
        bench = BenchProcess(build / "bin", pathlib.Path(scratch))
        try:
            bench.open_display()
            print(f"{name}: {check(bench, count)}", flush=True)
        except Failure as failure:
            sys.exit(f"{name}: {failure}\n{bench.evidence()}")
        finally:
            bench.end()


class BenchProcess:
    """A copy of the program in its own folder, with its settings, store, log and saved images."""

    def __init__(self, binaries, folder):
        self.folder, self.store, self.images = folder, folder / "store", folder / "TmpImages"
        self.trace_file, self.said = folder / "trace.log", folder / "stderr.log"
        self.environment = os.environ | {
            "TARN_SIMULATOR": str(folder / "settings.ini"), "QT_QPA_PLATFORM": "xcb",
            "HOME": str(folder), "XDG_RUNTIME_DIR": str(folder),
            # Freed pictures go back to the system at once: what stays resident is in use.
            "MALLOC_MMAP_THRESHOLD_": "131072", "MALLOC_TRIM_THRESHOLD_": "131072"}
        self.helpers, self.process, self.trace = [], None, None
        for name in PROGRAM_FILES:
            shutil.copy2(binaries / name, folder)

    def open_display(self):
        reading, writing = os.pipe()
        self._help("Xvfb", "-displayfd", str(writing), "-screen", "0", "1280x900x24", "-noreset",
                   "-nolisten", "tcp", pass_fds=[writing])
        os.close(writing)
        with open(reading) as number:
            display = number.readline().strip()
        if not display:
            raise Failure("Xvfb did not start")
        self.environment["DISPLAY"] = ":" + display
        # A window that comes while the manager starts may stay hidden.
        started = self.folder / "managed"
        self._help("openbox", "--startup", f"touch {started}")
        self.wait(started.exists, "the window manager")

    def start(self, **settings):
        """Starts the program, keeps what its store already has, and begins a new log."""
        lines = SETTINGS | settings | {"store_folder": self.store, "trace_file": self.trace_file}
        (self.folder / "settings.ini").write_text(
            "".join(f"{key} = {value}\n" for key, value in lines.items()))
        self.trace_file.write_text("")
        self.trace = self.trace_file.open()
        left_over = any(self.store.glob("*.tarn"))
        self.launch(self.folder / "TarnTest")
        self._wait_for_call("TarnGetImageCount")
        if left_over:
            self.wait(lambda: self.windows("Tarn test"), "the question about stored images")
            self.urge("TarnGetDeviceList", "alt+n")

    def launch(self, program):
        self.process = subprocess.Popen([program], env=self.environment,
                                        stderr=self.said.open("w"))

    def capture(self):
        """Ticks "Auto save images" and begins."""
        window = self.wait(lambda: self.windows("TarnTest"), "the window")[0]
        self._xdotool("windowactivate", "--sync", window)
        self._key("alt+v")
        self.resume()

    def resume(self):
        """Ticks "Auto enable" and arms."""
        self._key("alt+u")
        self.arm()

    def arm(self):
        """Presses Enable as soon as the button allows."""
        self.urge("TarnEnableCapture", "alt+e")

    def urge(self, call, key):
        """Presses the key until the program makes the call once more."""
        self.calls()
        self._wait_for_call(call, lambda: self._key(key))

    def rest(self):
        """Takes the tick of "Auto enable" away and waits until no image comes any more."""
        self._key("alt+u")
        last = 0
        while last != (last := self.last_id()):
            time.sleep(2)

    def last_id(self):
        """The number of the image that the library began last; ids count from 1."""
        file = self.store / "last-id"
        return int(file.read_text()) if file.exists() else 0

    def calls(self):
        """The log's whole lines since the last call of this, as "Name arguments -> result"."""
        return [line.partition(" ")[2].rstrip("\n") for line in self.trace if line.endswith("\n")]

    def kill(self):
        self.process.kill()
        self.process.wait()

    def terminate(self):
        """Ends the program in order. Returns how many of the library's objects were not freed."""
        self.process.terminate()
        self.wait(lambda: self.process.poll() is not None, "the program to end")
        objects = re.search(r"objects handed out, (\d+) not freed", self.said.read_text())
        if self.process.returncode != 0 or not objects:
            raise Failure(f"the program ended with {self.process.returncode}")
        return int(objects[1])

    def stored_ids(self):
        return {stored_image_id(path) for path in self.store.glob("*.tarn")}

    def resident(self, figure="VmRSS"):
        """Resident memory in KiB; VmHWM is the most there ever was."""
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

    def wait(self, condition, what, pause=0.02):
        end = time.monotonic() + PATIENCE
        while not (result := condition()):
            if self.process and self.process.poll() is not None:
                raise Failure(f"the program ended with {self.process.returncode}")
            if time.monotonic() > end:
                raise Failure(f"waited {PATIENCE:.0f} s for {what}")
            time.sleep(pause)
        return result

    def evidence(self):
        """The windows and the last lines of the logs, for the report of a failure."""
        lines = []
        if "DISPLAY" in self.environment:
            lines += [f"window: {self._xdotool('getwindowname', window)[0]}"
                      for window in self.windows("arn")]
        for log in (self.trace_file, self.said):
            if log.exists():
                lines += log.read_text().splitlines()[-15:]
        return "\n".join(lines)

    def end(self):
        if self.process:
            self.kill()
        for helper in reversed(self.helpers):
            helper.terminate()
            helper.wait()

    def _help(self, *command, **options):
        self.helpers.append(subprocess.Popen(command, env=self.environment, **options,
                                             stdout=subprocess.DEVNULL, stderr=subprocess.DEVNULL))

    def _wait_for_call(self, name, urge=None):
        """Waits for a call; what urges it is repeated every half second until it comes."""
        urged = 0.0

        def came():
            nonlocal urged
            if any(call.startswith(name) for call in self.calls()):
                return True
            if urge and time.monotonic() > urged + 0.5:
                urge()
                urged = time.monotonic()
            return False
        self.wait(came, name)

    def windows(self, title):
        return self._xdotool("search", "--onlyvisible", "--name", title)

    def _key(self, *keys):
        self._xdotool("key", "--delay", "20", *keys)

    def _xdotool(self, *arguments):
        return subprocess.run(["xdotool", *arguments], env=self.environment, text=True,
                              capture_output=True).stdout.split("\n")[:-1]


def q32_image_id(path):
    """The image number of a saved image. Raises Failure unless the file is whole: the header, as
    many pixels as it says, both texts and nothing behind; no pixel of the simulated image is 0."""
    data = path.read_bytes()
    try:
        magic, offset, image_id, _, rows, length, bits = struct.unpack("<II16xIIIII", data[:44])
        end = offset + rows * length * 2
        pixels = array.array("H", data[offset:end])
        for _ in range(2):
            end += 4 + struct.unpack_from("<I", data, end)[0]
    except (struct.error, ValueError) as error:
        raise Failure(f"{path.name} has {len(data)} bytes: {error}") from error
    if (magic, offset, bits > 8, end) != (0x01007157, 44, True, len(data)) or not pixels or \
            0 in pixels:
        raise Failure(f"{path.name} is not whole")
    return image_id


def stored_image_id(path):
    """The number of an image in the simulator's store, checked for its length."""
    data = path.read_bytes()
    if len(data) < 40:
        raise Failure(f"{path.name} has {len(data)} bytes")
    width, height, pixel_bytes, _, image_id, _, *texts = struct.unpack_from("<8I", data, 8)
    if data[:8] != b"TarnImg1" or len(data) != 40 + width * height * pixel_bytes + sum(texts) or \
            path.stem != f"{image_id:010}":
        raise Failure(f"{path.name} is not whole")
    return image_id
