"""The files of the command q32 through other programs, and its conventions."""
import csv
import io
import os
import pathlib
import re
import struct
import subprocess
import sys
import unittest
import zlib

import numpy as np
from PIL import Image

from command import DEPTHS, PROGRAM, CommandTest
from picture_files import read_dicom, read_pgm, read_png, read_q32, read_tiff

HEADER = b'ProgramName="P 1";kV=60;Note=\xe9;'


class FilesAreReadElsewhere(CommandTest):
    def convert(self, *words):
        self.run_q32("convert", *words)
        return self.folder / words[-1]

    def expect(self, picture, read, *words):
        """Converts, and gives what the reader says beside the picture, which must be this one."""
        got, *said = read(self.convert(*words))
        np.testing.assert_array_equal(got, picture)
        return said

    def test_untouched_values_at_every_depth_and_back(self):
        for bits, largest in DEPTHS.items():
            name = f"{bits}.q32"
            picture = self.noise(name, bits, header=HEADER)
            self.assertEqual(self.expect(picture, read_pgm, name, f"{bits}.pgm"), [largest])
            self.assertEqual(self.expect(picture, read_png, name, f"{bits}.png"), [bits, HEADER])
            text, = self.expect(picture, read_tiff, name, f"{bits}.tif")
            self.assertRegex(text, rf"SMax Sample Value: {largest}\n")
            text, = self.expect(picture, read_dicom, name, f"{bits}.dcm")
            self.assertRegex(text, rf"US {bits} .*BitsStored")
            self.assertIn(f"[{HEADER.decode('latin-1')}", text)
            self.assertRegex(text, "Grayscale" + ("Byte" if bits == 8 else "Word") + "Secondary")
            self.assertIn("[TEST]", text)
            self.assertNotIn("PixelSpacing", text)
            for kind, header in (("pgm", b""), ("png", HEADER), ("tif", HEADER)):
                said = self.expect(picture, read_q32, f"{bits}.{kind}", f"{bits}{kind}.q32")
                self.assertEqual(said, [bits, header])
                self.run_q32("check", f"{bits}{kind}.q32")

    def test_dicom_names_the_character_set(self):
        long = 10239 * "x"
        for text, name, kept in ((b"Note=a", None, "Note=a"), (b"Note=\xe9", "100", "Note=\xe9"),
                                 ("Note=\xe9\u20ac".encode(), "192", "Note=\xe9\u20ac"),
                                 ((long + "\u20ac").encode(), "192", long)):
            picture = self.noise("a.q32", 8, header=text)
            said, = self.expect(picture, read_dicom, "--force", "a.q32", "a.dcm")
            self.assertEqual(re.findall(r"CS \[ISO_IR (\d+)\] .*SpecificCharacterSet", said),
                             [name] if name else [])
            encoded = kept.encode("utf-8" if name == "192" else "latin-1").decode("latin-1")
            self.assertRegex(said, rf"LT \[{encoded} ?\] .*ImageComments")

    def test_samples_above_the_stated_depth_stay(self):
        picture = self.noise("a.q32", 12)
        picture[3, 3] = 5000
        self.write("a.q32", picture)
        self.assertIn("samples up to 5000", self.fails("check", "a.q32"))
        self.assertAlmostEqual(self.json("stats", "a.q32")[0]["share at maximum"],
                               np.mean(picture >= 4095))
        self.assertEqual(self.expect(picture, read_pgm, "a.q32", "a.pgm"), [8191])

    def test_gray_levels_are_those_of_the_window(self):
        picture = self.noise("a.q32", 12)

        def levels(center, width, gamma=1.0, negative=False):
            x = picture - (center - width * 0.5)
            x = 4095 - x if negative else x
            v = np.trunc(np.clip(x * 255 / width, 0, 255))
            return np.trunc(255 * (v * 0.00392156862745098) ** (1 / gamma))
        low, high = picture.min(), picture.max()
        width = high - low
        center = width // 2 + low
        for words, expected in (
                (("--window", "3000,801"), levels(3000, 801)),
                (("--window", "3000,801", "--gamma", "2.2"), levels(3000, 801, 2.2)),
                (("--window", "395,800", "--negative"), levels(395, 800, negative=True)),
                (("--fit", "100"), levels(center, width)),
                (("--negative",), levels(4095 - center, width, negative=True))):
            said = self.expect(expected, read_png, "--force", *words, "a.q32", "a.png")
            self.assertEqual(said[0], 8)

    def test_scale_to_the_full_range(self):
        picture = self.noise("a.q32", 12)
        self.expect(np.floor(picture * 65535 / 4095 + 0.5), read_pgm, "--scale", "a.q32", "a.pgm")

    def test_many_files_into_a_folder(self):
        pictures = [self.noise(f"{i}.q32", 8) for i in range(3)]
        (self.folder / "out").mkdir()
        (self.folder / "bad.q32").write_bytes(b"nothing")
        error = self.fails("convert", "--to", "png", "0.q32", "bad.q32", "1.q32", "2.q32", "out")
        self.assertRegex(error, r"^q32: bad\.q32: .+\n$")
        for i, picture in enumerate(pictures):
            np.testing.assert_array_equal(read_png(self.folder / f"out/{i}.png")[0], picture)
        self.assertEqual(len(list((self.folder / "out").iterdir())), 3)

    def test_files_of_one_name_do_not_replace_each_other(self):
        for name in ("a", "b", "out"):
            (self.folder / name).mkdir()
        (self.folder / "a/x.q32").write_bytes(b"nothing")
        first, _ = self.noise("b/x.q32", 8), self.noise("x.q32", 8)
        for again in range(2):
            error = self.fails("convert", "--force", "--to", "png", "a/x.q32", "b/x.q32", "x.q32",
                               "out")
            self.assertRegex(error, r"^q32: a/x.q32: .+\nq32: out/x.png: was written .+\n$")
            np.testing.assert_array_equal(read_png(self.folder / "out/x.png")[0], first)

    def test_standard_streams(self):
        self.noise("a.q32", 12)
        whole = (self.folder / "a.q32").read_bytes()
        done = self.run_q32("convert", "--to", "pgm", "-", "-", stdin=whole)
        again = self.run_q32("convert", "--to", "q32", "-", "-", stdin=done.stdout).stdout
        self.assertEqual(again[44:-8], whole[44:-8])
        self.assertEqual(self.json("stats", "-", stdin=whole)[0]["samples"], 37 * 52)

    def test_copies_of_streams_leave_nothing_behind(self):
        self.noise("a.q32", 16, (1000, 1000))
        os.environ["TMPDIR"] = str(self.folder)
        self.addCleanup(os.environ.pop, "TMPDIR")
        reader, writer = os.pipe()
        os.close(reader)
        folder = os.open(self.folder, os.O_RDONLY)
        for words, stdin, stdout in ((("convert", "--to", "pgm", "a.q32", "-"), None, writer),
                                     (("convert", "--to", "q32", "a.q32", "-"), None, writer),
                                     (("stats", "-"), folder, None)):
            done = subprocess.run([PROGRAM, *words], stdin=stdin, stdout=stdout, cwd=self.folder,
                                  stderr=subprocess.PIPE)
            self.assertEqual(done.returncode, 1)
            self.assertRegex(done.stderr.decode(), r"^q32: -: .+\n$")
        whole = (self.folder / "a.q32").read_bytes()
        self.assertNotIn("q32-", self.fails("stats", "-", stdin=whole[:20]))
        # While it is written, nobody else may read it, and a killed process leaves nothing.
        process = subprocess.Popen([PROGRAM, "stats", "-"], stdin=subprocess.PIPE)
        process.stdin.write(whole)
        descriptors = pathlib.Path(f"/proc/{process.pid}/fd")
        copy, = (entry for entry in descriptors.iterdir() if "q32-" in os.readlink(entry))
        self.assertEqual(copy.stat().st_mode & 0o777, 0o600)
        process.kill()
        process.communicate()
        for descriptor in (writer, folder):
            os.close(descriptor)
        self.assertEqual([entry.name for entry in self.folder.iterdir()], ["a.q32"])

    def test_foreign_files_are_refused_with_a_reason(self):
        picture = self.random.integers(0, 256, (4, 6)).astype(np.uint16)
        Image.new("RGB", (6, 4)).save(self.folder / "color.png")
        Image.fromarray(picture).save(self.folder / "gray.png")
        self.assertIn("not a gray picture", self.fails("convert", "color.png", "a.q32"))
        self.assertEqual(self.expect(picture, read_q32, "gray.png", "gray.q32"), [16, b""])
        for kind in ("pgm", "tif", "png"):
            self.run_q32("convert", "gray.q32", f"cut.{kind}")
            whole = (self.folder / f"cut.{kind}").read_bytes()
            for size in (5, 40, len(whole) // 2) if kind != "tif" else (5, 30):
                (self.folder / f"cut.{kind}").write_bytes(whole[:size])
                self.assertRegex(self.fails("convert", f"cut.{kind}", "b.q32"), r"^q32: cut\.")
        self.assertFalse((self.folder / "b.q32").exists())

    def test_foreign_files_are_read_as_they_are_meant(self):
        picture = self.noise("a.q32", 12)
        # Samples scaled to 16 bits beside the 12 that are significant.
        data = self.convert("--scale", "a.q32", "a.png").read_bytes()
        sbit = data.index(b"sBIT")
        chunk = b"sBIT\x0c"
        chunk += zlib.crc32(chunk).to_bytes(4, "big")
        (self.folder / "a.png").write_bytes(data[:sbit] + chunk + data[sbit + 9:])
        scaled = np.floor(picture * 65535 / 4095 + 0.5)
        self.assertEqual(self.expect(scaled, read_q32, "a.png", "b.q32")[0], 16)
        Image.new("1", (9, 3), 1).save(self.folder / "bits.png")
        self.assertEqual(self.expect(np.ones((3, 9)), read_q32, "bits.png", "bits.q32")[0], 8)
        for kind in (np.uint8, np.uint16):
            picture = self.random.integers(0, 256, (5, 8)).astype(kind)
            for orientation, turned in ((1, picture), (2, picture[:, ::-1]),
                                        (3, picture[::-1, ::-1]), (4, picture[::-1]), (5, None),
                                        (8, None)):
                Image.fromarray(picture).save(self.folder / "a.tif", tiffinfo={274: orientation})
                if turned is None:
                    self.assertIn("on its side", self.fails("convert", "a.tif", "c.q32"))
                else:
                    self.expect(turned, read_q32, "--force", "a.tif", "b.q32")

    def test_thumbnail(self):
        picture = self.noise("a.q32", 12, (120, 200))
        self.run_q32("thumbnail", "-s", "50", "a.q32", "a.png")
        got, _, _ = read_png(self.folder / "a.png")
        self.assertEqual(got.shape, (30, 50))
        # Scale 4, so every second row (from the bottom) and column of a block is averaged.
        low, width = picture.min(), np.ptp(picture)
        block = picture[5:8:2, 4:8:2].sum() // 4
        start = width // 2 + low - width * 0.5
        self.assertEqual(got[1, 1], np.trunc((block - start) * 255 / width))
        self.write("big.q32", self.random.integers(0, 4096, (4096, 4096)))
        # A process begins with the memory of the one that starts it, so that is a small one.
        measure = ("import os, sys, time; begin = time.monotonic();"
                   "_, status, usage = os.wait4(os.spawnv(os.P_NOWAIT, sys.argv[1], sys.argv[1:]),"
                   " 0); print(status, time.monotonic() - begin, usage.ru_maxrss)")
        output = subprocess.run([sys.executable, "-c", measure, PROGRAM, "thumbnail", "big.q32",
                                 "big.png"], cwd=self.folder, capture_output=True, check=True)
        status, seconds, kibibytes = map(float, output.stdout.split())
        self.assertEqual(status, 0)
        if os.environ.get("BUILD_TYPE") == "Release":
            self.assertLess(seconds, 1)
            self.assertLess(kibibytes, 64 * 1024)


class ConventionsHold(CommandTest):
    def test_exit_codes_and_reasons(self):
        self.noise("a.q32", 12)
        self.noise("narrow.q32", 12, (37, 51))
        for words in ((), ("stats",), ("nothing",), ("stats", "--no", "a.q32"),
                      ("stats", "--json", "--csv", "a.q32"), ("stats", "--region", "1,2,3", "a.q32"),
                      ("convert", "a.q32", "a.xyz"), ("convert", "a.q32", "a.q32", "a.png"),
                      ("thumbnail", "-s", "0", "a.q32", "a.png"),
                      ("uniformity", "--pitch", "nan", "a.q32"),
                      ("mtf", "--pitch", "nan", "a.q32"),
                      ("profile", "--line", "nan,0,9,9", "a.q32"),
                      ("stats", "--region", "0,0,nan,9", "a.q32"),
                      ("stats", "--region", "0.9,0,10,10", "a.q32"),
                      ("stats", "--region", "0,0,10,10.5", "a.q32"),
                      ("convert", "--window", "nan,9", "a.q32", "a.png"),
                      ("convert", "--window", "9.5,9", "a.q32", "a.png"),
                      ("convert", "--fit", "nan", "a.q32", "a.png"),
                      ("convert", "--gamma", "inf", "a.q32", "a.png")):
            self.assertRegex(self.fails(*words, code=2), r"^q32: .+\n", words)
        for words in (("stats", "none.q32"), ("stats", "--region", "50,0,9,9", "a.q32"),
                      ("uniformity", "a.q32"), ("mtf", "a.q32"), ("diff", "none.q32", "a.q32"),
                      ("profile", "--line", "0,0,52,0", "a.q32"), ("defects", "none.q32"),
                      ("thumbnail", "none.q32", "x.png"), ("convert", "none.q32", "x.png"),
                      ("diff", "a.q32", "narrow.q32"), ("defects", "a.q32", "narrow.q32"),
                      ("defects", "a.q32", "--dark", "narrow.q32"),
                      ("convert", "a.q32", "no/x.png")):
            self.assertRegex(self.fails(*words), r"^q32: \S+: .+\n$", words)
        self.assertEqual({p.name for p in self.folder.iterdir()}, {"a.q32", "narrow.q32"})
        for command in ("stats", "check", "diff", "defects"):
            self.assertEqual(self.fails(command, "none.q32", "a.q32"),
                             "q32: none.q32: File none.q32 not found.\n")
        for words in (("info", "a.q32"), ("stats", "--csv", "a.q32"), ("defects", "a.q32"),
                      ("--manual",), ("stats", "--help")):
            with open("/dev/full", "w") as full:
                done = subprocess.run([PROGRAM, *words], cwd=self.folder, stdout=full,
                                      stderr=subprocess.PIPE)
            self.assertEqual((done.returncode, done.stderr),
                             (1, b"q32: -: the output cannot be written\n"), words)

    def test_existing_files_stay_without_force(self):
        self.noise("a.q32", 12)
        (self.folder / "a.png").write_bytes(b"old")
        self.assertIn("--force", self.fails("convert", "a.q32", "a.png"))
        self.assertIn("--force", self.fails("thumbnail", "a.q32", "a.png"))
        (self.folder / "bad.q32").write_bytes(b"Wq\0\1")
        self.fails("convert", "--force", "bad.q32", "a.png")
        self.assertEqual((self.folder / "a.png").read_bytes(), b"old")
        self.run_q32("convert", "--force", "a.q32", "a.png")
        read_png(self.folder / "a.png")

    def test_damaged_files_are_found(self):
        self.noise("a.q32", 12, header=HEADER, user=b"me")
        whole = (self.folder / "a.q32").read_bytes()
        self.assertEqual(self.json("check", "a.q32")[0]["result"], "sound")
        texts = len(HEADER) + 10
        for data, reason in ((whole[:43], "too short"), (whole[:-texts - 9], "9 of 3848 pixel"),
                             (whole[:-texts], "header text is missing"),
                             (whole[:-1], "user id is cut short"), (whole + b"x", "1 bytes follow"),
                             (whole[:9] + b"x" + whole[10:], "reserved"),
                             (whole[:-1] + b"\0", "zero byte"), (b"", "too short"),
                             (b"x" + whole[1:], "not q32 format"),
                             (whole[:32] + struct.pack("<3I", 20000, 20000, 16), "not q32 format")):
            (self.folder / "b.q32").write_bytes(data)
            self.assertIn(reason, self.fails("check", "b.q32"))
        (self.folder / "b.q32").write_bytes(whole[:-texts - 9])
        for words in (("stats",), ("info",), ("convert", "--to", "png")):
            target = ["-"] if words[0] == "convert" else []
            self.assertIn("cut short", self.fails(*words, "b.q32", *target))

    def test_info_in_three_forms(self):
        self.noise("a.q32", 12, header=b'ProgramName="A,""B\\"";kV=60;', user=b"me", image_id=9)
        got, = self.json("info", "a.q32")
        self.assertEqual([got[name] for name in ("width", "height", "bits", "image id", "kV")],
                         [52, 37, 12, 9, "60"])
        self.assertRegex(self.run_q32("info", "a.q32").stdout.decode(), r"(?m)^  user id +me$")
        lines = self.run_q32("info", "--csv", "a.q32").stdout.decode().splitlines()
        self.assertTrue(lines[0].startswith("file,width,height,bits,"))
        self.assertIn('a.q32,52,37,12,2,9,1,me,"ProgramName=""A,', lines[1])

    def test_info_finds_whole_keys_and_writes_them_below_headings(self):
        texts = ((b"SelectedExposureTime=5;IntegrationTime=7",
                  {"SelectedExposureTime": "5", "IntegrationTime": "7"}),
                 (b' kV= 60;ProgramName="a=Date=1";\n Time=8',
                  {"kV": "60", "ProgramName": "a=Date=1", "Time": "8"}),
                 (b"Note=x\\;mA=3;mA=4;mA=5", {"mA": "4"}), (b"kV=;", {"kV": ""}), (b"", {}))
        names = [f"{i}.q32" for i in range(len(texts))]
        for name, (header, _) in zip(names, texts):
            self.noise(name, 8, header=header)
        lines = self.run_q32("info", "--csv", *names).stdout.decode()
        table = [*csv.DictReader(io.StringIO(lines))]
        for got, row, (_, expected) in zip(self.json("info", *names), table, texts, strict=True):
            self.assertEqual(dict([*got.items()][9:]), expected)
            cells = [*row.items()][9:]
            self.assertEqual(len(cells), 28)
            self.assertEqual({key: value for key, value in cells if value or key in expected},
                             expected)

    def test_texts_do_not_act_on_the_terminal(self):
        text = b"a\x1b[2J\nkV  60\r\x7f\xc2\x9b\t\xc3\xbc\xe9"
        shown = rb"a\x1B[2J\x0AkV  60\x0D\x7F\x9B\x09" + b"\xc3\xbc\xe9"
        self.noise("\x1bc.q32", 8, header=text, user=text)
        said = self.run_q32("info", "\x1bc.q32").stdout
        self.assertIn(rb"\x1Bc.q32:", said)
        self.assertEqual(said.count(shown + b"\n"), 2)
        cell = shown.replace(rb"\x0A", b"\n").replace(rb"\x0D", b"\r").replace(rb"\x09", b"\t")
        said = self.run_q32("info", "--csv", "\x1bc.q32").stdout
        self.assertEqual(said.count(b'"' + cell + b'"'), 2)
        self.assertEqual(self.json("info", "\x1bc.q32")[0]["user id"][:5], "a\x1b[2J")
        self.assertRegex(self.fails("stats", "\x1bno.q32"), r"^q32: \\x1Bno\.q32: [^\x1b]+\n$")

    def test_help_manual_and_completion(self):
        manual = self.run_q32("--manual").stdout
        rendered = subprocess.run(["man", "--warnings", "-l", "-"], input=manual,
                                  capture_output=True)
        self.assertEqual((rendered.returncode, rendered.stderr), (0, b""))
        options = "--help --version --manual --bash-completion"
        for option in options.split():
            self.assertRegex(rendered.stdout.decode().split("COMMANDS")[0],
                             rf"\n +(-h,)?{option}\b")
        script = self.run_q32("--bash-completion").stdout.decode()
        commands = re.findall(r"^  ([a-z]+) ", self.run_q32("--help").stdout.decode()
                              .split("Subcommands:")[1], re.M)
        self.assertEqual(len(commands), 11)
        for command in commands:
            self.assertIn("Examples:\n  q32 " + command,
                          self.run_q32(command, "--help").stdout.decode())
            self.assertIn(f"\n   {command}\n", rendered.stdout.decode())
        ask = script + "\nCOMP_WORDS=(q32 {}); COMP_CWORD={}; _q32; echo \"${{COMPREPLY[*]}}\"\n"
        for line, place, expected in (("th", 1, "thumbnail"), ("convert --ne", 2, "--negative"),
                                      ("--", 1, options), ("convert a", 2, ""),
                                      ("convert --to ''", 3, "q32 pgm png tiff dicom"),
                                      ("convert --to d", 3, "dicom")):
            got = subprocess.run(["bash", "-c", script + ask[len(script):].format(line, place)],
                                 capture_output=True, text=True, check=True).stdout
            self.assertEqual(got.split(), expected.split())


if __name__ == "__main__":
    unittest.main(verbosity=1)
