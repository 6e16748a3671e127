"""What the tests of the command q32 share: a folder, pictures in it, and calls of the command.

usage of the tests: NAME_test.py PROGRAM [TEST...]
"""
import json
import pathlib
import subprocess
import sys
import tempfile
import unittest

import numpy as np

from picture_files import write_q32

PROGRAM = sys.argv.pop(1)
DEPTHS = {8: 255, 12: 4095, 16: 65535}


class CommandTest(unittest.TestCase):
    def setUp(self):
        holder = tempfile.TemporaryDirectory()
        self.addCleanup(holder.cleanup)
        self.folder = pathlib.Path(holder.name)
        self.random = np.random.default_rng(20)

    def noise(self, name, bits, shape=(37, 52), **more):
        picture = self.random.integers(0, 1 << bits, shape)
        picture[5, 7], picture[6, 8] = 0, DEPTHS[bits]
        return self.write(name, picture, bits, **more)

    def write(self, name, picture, bits=12, **more):
        write_q32(self.folder / name, picture, bits, **more)
        return picture

    def run_q32(self, *words, code=0, stdin=None):
        done = subprocess.run([PROGRAM, *map(str, words)], cwd=self.folder, capture_output=True,
                              input=stdin)
        self.assertEqual(done.returncode, code, done.stderr.decode())
        if code == 0:
            self.assertEqual(done.stderr, b"")
        return done

    def json(self, *words, **more):
        lines = self.run_q32(*words, "--json", **more).stdout.decode().splitlines()
        return [json.loads(line) for line in lines]

    def fails(self, *words, code=1, **more):
        return self.run_q32(*words, code=code, **more).stderr.decode()
