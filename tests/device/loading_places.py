"""Tests which path counts as the program's own, and in which order libraries are looked for, in a
sandbox with system folders of its own. Where the system allows no sandbox, the test is skipped.

usage: loading_places.py PROGRAM LIBRARY SYSTEM_FOLDER
"""
import os
import re
import subprocess
import sys
import unittest

PROGRAM, LIBRARY, SYSTEM = sys.argv[1:]
LOCAL = "/usr/local/lib/tarntest/"
LOADER = "/loader/"
SKIPPED = 77
FILE = "libTarn.so"


def sandbox_of(program):
    """Words that start a command with nothing but the program, at /opt/program, and what it links."""
    words = ["bwrap", "--unshare-all", "--tmpfs", "/", "--proc", "/proc", "--dev", "/dev",
             "--ro-bind", program, "/opt/program", "--symlink", "/opt/program", "/home/me/TarnTest",
             "--setenv", "LD_LIBRARY_PATH", LOADER + ":/linked"]
    linked = subprocess.run(["ldd", program], capture_output=True, text=True, check=True).stdout
    for name, path in re.findall(r"(\S+)(?: => (/\S+))? \(0x", linked):
        if name.startswith("/"):
            words += ["--ro-bind", os.path.realpath(name), name]
        elif path:
            words += ["--ro-bind", os.path.realpath(path), "/linked/" + name]
    return words


SANDBOX = sandbox_of(PROGRAM)


def start(*command, at="/", libraries=()):
    """The program's path and its library, or why there is none; libraries: folder and file of each."""
    binds = [word for folder, file in libraries for word in ("--ro-bind", file, folder + FILE)]
    return subprocess.run([*SANDBOX, *binds, "--chdir", at, *command], capture_output=True,
                          text=True, check=True).stdout.splitlines()


class LoadingPlaces(unittest.TestCase):
    def test_a_link_counts_as_the_place_where_it_stands(self):
        for at, command, path in (("/", "/opt/program", "/opt/program"),
                                  ("/", "/home/me/TarnTest", "/home/me/TarnTest"),
                                  ("/home/me", "./TarnTest", "/home/me/TarnTest"),
                                  ("/opt", "../home/me/TarnTest", "/home/me/TarnTest")):
            self.assertEqual(start(command, at=at)[0], path)

    def test_the_first_place_that_has_a_library_gives_it(self):
        places = ["/home/me/", SYSTEM, LOCAL, LOADER]
        for first in range(len(places)):
            libraries = [(place, LIBRARY) for place in places[first:]]
            _, loaded = start("./TarnTest", at="/home/me", libraries=libraries)
            self.assertEqual(loaded, places[first] + FILE)
        # One that is broken is named, not replaced by the next: no library, or a link to none.
        libraries = [("/opt/", LIBRARY), (LOCAL, LIBRARY)]
        link = ["--symlink", "/none", "/home/me/" + FILE, "./TarnTest"]
        for more, command in (([("/home/me/", __file__)], ["./TarnTest"]), ([], link)):
            _, reason = start(*command, at="/home/me", libraries=libraries + more)
            self.assertTrue(reason.startswith(f"The library {FILE} cannot be loaded: /home/me/{FILE}: "),
                            reason)
            self.assertNotIn("Searched", reason)

    def test_the_message_names_the_places(self):
        _, reason = start("/home/me/TarnTest")
        self.assertTrue(reason.endswith(f" Searched: /home/me/, {SYSTEM}, {LOCAL}, the folders of the "
                                        "system's loader."), reason)


if subprocess.run([*SANDBOX, "/opt/program"], capture_output=True).returncode != 0:
    print("skipped: this system allows no sandbox")
    sys.exit(SKIPPED)
unittest.main(argv=sys.argv[:1])
