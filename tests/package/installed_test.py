"""Tests what an installation consists of beside the program: launchers, manual pages, desktop files,
the file type, thumbnails.

usage: installed_test.py SOURCE BUILD VERSION
"""
import os
import pathlib
import re
import shutil
import struct
import subprocess
import sys
import tempfile
import unittest

SOURCE, BUILD, VERSION = pathlib.Path(sys.argv[1]), sys.argv[2], sys.argv[3]
PICTURE = struct.pack("<4sI16s5I", b"Wq\0\1", 44, b"", 1, 1, 2048, 2048, 12) + bytes(2048 * 4096 + 8)


def run(*words, **more):
    return subprocess.run(list(map(str, words)), capture_output=True, text=True, **more)


class Installed(unittest.TestCase):
    @classmethod
    def setUpClass(cls):
        holder = tempfile.TemporaryDirectory()
        cls.addClassCleanup(holder.cleanup)
        cls.prefix = pathlib.Path(holder.name) / "usr"
        run("cmake", "--install", BUILD, "--prefix", cls.prefix, check=True)
        cls.share = cls.prefix / "share"

    def setUp(self):
        holder = tempfile.TemporaryDirectory()
        self.addCleanup(holder.cleanup)
        self.home = pathlib.Path(holder.name)

    def expect_clean(self, *words, **more):
        done = run(*words, **more)
        self.assertEqual((done.returncode, done.stderr), (0, ""), done.stdout)
        return done.stdout

    def test_launchers_start_the_program_in_a_folder_of_the_users(self):
        # The program's place is taken by one that says by which path it was started.
        prefix = self.home / "moved"
        shutil.copytree(self.prefix, prefix)
        program, = prefix.glob("lib/**/tarntest/TarnTest")
        program.write_text("#!/bin/sh\necho $0\n")
        (self.home / ".config").mkdir()
        choice = self.home / ".config/user-dirs.dirs"
        environment = {"HOME": str(self.home), "PATH": os.environ["PATH"]}

        def start(command):
            return run(prefix / "bin" / command, env=environment)
        for pictures, place in (("$HOME/My Pictures", self.home / "My Pictures"),
                                ("$HOME/", self.home), (None, self.home)):
            choice.write_text(f'XDG_PICTURES_DIR="{pictures}"\n') if pictures else choice.unlink()
            for command, name in (("tarntest", "TarnTest"), ("tarntest-simulated", "TarnTest-Simulated")):
                folder = place / name
                first = not folder.exists()
                done = start(command)
                self.assertEqual(done.stdout, f"{folder}/{name}\n", done.stderr)
                self.assertEqual(done.stderr, f"{name}: images will be saved in {folder}/TmpImages\n"
                                 if first else "")
                links = {path.name: path.resolve() for path in folder.iterdir()}
                self.assertEqual(links.pop(name), program)
                self.assertEqual({path.parent.name for path in links.values()} or "none",
                                 "none" if name == "TarnTest" else {"tarntest-simulator"})
                self.assertTrue(all(path.is_file() for path in links.values()), links)
        # Where the pictures are there may be no links.
        tools = self.home / "tools"
        tools.mkdir()
        (tools / "ln").write_text('#!/bin/sh\ncase $3 in */Card/*) exit 1 ;; esac\nexec /bin/ln "$@"\n')
        (tools / "ln").chmod(0o755)
        choice.write_text('XDG_PICTURES_DIR="$HOME/Card"\n')
        environment["PATH"] = f"{tools}:{os.environ['PATH']}"
        self.assertEqual(start("tarntest").stdout, f"{self.home}/TarnTest/TarnTest\n")
        self.assertEqual(list((self.home / "Card").iterdir()), [])
        # A link of an earlier installation is replaced, a file is not.
        link = self.home / "TarnTest/TarnTest"
        link.unlink()
        link.symlink_to("/gone/TarnTest")
        self.assertEqual(start("tarntest").stderr, "")
        link.unlink()
        link.write_text("mine")
        done = start("tarntest")
        self.assertEqual((done.returncode, done.stdout, link.read_text()), (1, "", "mine"))
        self.assertRegex(done.stderr, rf"\ATarnTest: {link} is in the way; .*\n\Z")
        self.assertEqual([path.name for path in link.parent.iterdir()], ["TarnTest"])

    def test_manual_pages_are_clean_and_complete(self):
        pages = sorted(self.share.glob("man/man?/*"))
        self.assertEqual([page.name for page in pages],
                         ["q32.1", "tarntest-simulated.1", "tarntest.1", "q32.5", "tarn-simulator.ini.5"])
        texts = {page.name: self.expect_clean("man", "--warnings", "-E", "UTF-8", "-l", page,
                                              env=os.environ | {"LC_ALL": "C.UTF-8"})
                 for page in pages}
        for page, document in (("tarntest.1", "manual.md"), ("q32.5", "q32.md"),
                               ("tarn-simulator.ini.5", "simulator.md")):
            words = re.compile(r"\w{5,}")
            said = (SOURCE / "docs" / document).read_text().split("\n", 1)[1]
            said = re.sub(r"\]\([^)]*\)|!\[[^]]*|```\w+|\|.*\n\|[- |]+\|\n", " ", said)
            shown = re.sub(r"(‐|-)\n *", lambda cut: "-" if cut[1] == "-" else "", texts[page])
            missing = set(map(str.lower, words.findall(said))) - set(map(str.lower, words.findall(shown)))
            self.assertEqual(missing, set(), page)
            self.assertIn(f"TarnTest {VERSION}", texts[page])

    def test_desktop_files_and_metadata(self):
        desktop_files = sorted(self.share.glob("applications/*"))
        self.assertEqual([path.name for path in desktop_files],
                         ["tarntest-simulated.desktop", "tarntest.desktop"])
        self.expect_clean("desktop-file-validate", *desktop_files)
        for path in desktop_files:
            command = re.search(r"^Exec=(\S+)$", path.read_text(), re.M)[1]
            self.assertTrue(os.access(self.prefix / "bin" / command, os.X_OK))
        metadata, = self.share.glob("metainfo/*")
        said = self.expect_clean("appstreamcli", "validate", "--pedantic", "--strict", "--no-net", metadata)
        self.assertNotRegex(said, r"(?m)^[EWIP]:")
        self.assertIn(f'<release version="{VERSION}" date="', metadata.read_text())

    def test_the_type_is_told_by_content_and_by_name(self):
        data = self.home / "data/mime/packages"
        shutil.copytree(self.share / "mime/packages", data)
        environment = os.environ | {"XDG_DATA_HOME": str(self.home / "data")}
        self.expect_clean("update-mime-database", data.parent, env=environment)
        for name, content, kind in (("a", PICTURE, "q32"), ("b.Q32", b"x", "q32"), ("c", b"Wq", None)):
            (self.home / name).write_bytes(content)
            said = self.expect_clean("gio", "info", "-a", "standard::content-type", self.home / name,
                                     env=environment)
            (self.assertIn if kind else self.assertNotIn)("image/x-q32", said, name)

    def test_thumbnails_in_the_sandbox_of_file_managers(self):
        entry = (self.share / "thumbnailers/q32.thumbnailer").read_text()
        command = re.search(r"^Exec=(.*)$", entry, re.M)[1]
        command = command.replace("%s", "256").replace("%i", "/tmp/in").replace("%o", "/tmp/out")
        (self.home / "out").touch()  # some file managers make it first
        sandbox = ["bwrap", "--unshare-all", "--clearenv", "--setenv", "PATH", "/usr/bin", "--ro-bind",
                   "/usr", "/usr", "--symlink", "usr/lib", "/lib", "--symlink", "usr/lib64", "/lib64",
                   "--dev", "/dev", "--proc", "/proc", "--bind", self.home, "/tmp", "--ro-bind",
                   self.prefix / "bin/q32", "/q32", "--chdir", "/", "/" + command.split()[0]]
        if run(*sandbox, "--version").returncode != 0:
            self.skipTest("this system allows no sandbox")
        for content, code in ((PICTURE, 0), (PICTURE[:40], 1)):
            (self.home / "in").write_bytes(content)
            done = run(*sandbox, *command.split()[1:])
            self.assertEqual(done.returncode, code, done.stderr)
            self.assertEqual((self.home / "out").read_bytes()[16:24], struct.pack(">2I", 256, 256))


class SourceAgrees(unittest.TestCase):
    def test_the_version_and_the_icon(self):
        changes = (SOURCE / "debian/changelog").read_text()
        self.assertEqual(re.match(r"tarntest \((\S+)\)", changes)[1], VERSION)
        subprocess.run([SOURCE / "scripts/icon", "--check"], check=True)


unittest.main(argv=sys.argv[:1])
