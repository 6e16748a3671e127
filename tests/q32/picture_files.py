"""Reads and writes picture files for tests, independently of the programs under test."""
import re
import struct
import subprocess

import numpy as np
from PIL import Image


def write_q32(path, picture, bits, header=b"", user=b"", image_id=1):
    head = struct.pack("<4sI16xIIIII", b"Wq\0\1", 44, image_id, 1, *picture.shape, bits)
    pixels = picture[::-1].astype("<u1" if bits <= 8 else "<u2").tobytes()
    texts = b"".join(struct.pack("<I", len(text)) + text for text in (header, user))
    path.write_bytes(head + pixels + texts)


def read_q32(path):
    """Picture, bits and header text."""
    data = path.read_bytes()
    rows, columns, bits = struct.unpack_from("<III", data, 32)
    kind = np.dtype("<u1" if bits <= 8 else "<u2")
    picture = np.frombuffer(data, kind, rows * columns, 44).reshape(rows, columns)[::-1]
    at = 44 + rows * columns * kind.itemsize
    size, = struct.unpack_from("<I", data, at)
    return picture, bits, data[at + 4:at + 4 + size]


def read_pgm(path):
    """Picture and largest value."""
    data = path.read_bytes()
    match = re.match(rb"P5\s+(\d+)\s+(\d+)\s+(\d+)\s", data)
    width, height, largest = map(int, match.groups())
    kind = ">u2" if largest > 255 else ">u1"
    return np.frombuffer(data, kind, offset=match.end()).reshape(height, width), largest


def read_png(path):
    """Picture, significant bits and comment, of a gray file that pngcheck finds sound."""
    text = output_of("pngcheck", "-v", path)
    assert "-bit grayscale," in text, text
    with Image.open(path) as image:
        return (np.asarray(image), int(re.search(r"gray = (\d+)", text)[1]),
                image.info.get("Comment", "").encode("latin-1"))


def read_tiff(path):
    """Picture and the text that tiffinfo shows of the file."""
    with Image.open(path) as image:
        return np.asarray(image), output_of("tiffinfo", path)


def read_dicom(path):
    """Picture and the text that dcmdump shows of a file in which dciodvfy finds no error."""
    found = subprocess.run(["dciodvfy", path], capture_output=True, text=True).stderr
    assert "Error" not in found and "SCImage" in found, found
    text = output_of("dcmdump", "+L", "+W", path.parent, path)
    rows, columns, bits = (int(re.search(rf" US (\d+) .*{name}\n", text)[1])
                           for name in ("Rows", "Columns", "BitsAllocated"))
    raw, = path.parent.glob(path.name + "*.raw")
    picture = np.fromfile(raw, f"<u{bits // 8}", rows * columns)
    raw.unlink()
    return picture.reshape(rows, columns), text


def output_of(*command):
    return subprocess.run(command, check=True, capture_output=True).stdout.decode("latin-1")
