"""Reads and writes picture files for tests, independently of the programs under test."""
import re
import struct
import subprocess
import zlib

import numpy as np


def write_q32(path, picture, bits, header=b"", user=b"", image_id=1, tail=b""):
    head = struct.pack("<4sI16xIIIII", b"Wq\0\1", 44, image_id, 1, *picture.shape, bits)
    pixels = picture[::-1].astype("<u1" if bits <= 8 else "<u2").tobytes()
    texts = b"".join(struct.pack("<I", len(text)) + text for text in (header, user))
    path.write_bytes(head + pixels + texts + tail)


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
    """Picture, significant bits and comment, of a file that pngcheck finds sound."""
    subprocess.run(["pngcheck", "-q", path], check=True, capture_output=True)
    data, at, chunks = path.read_bytes(), 8, {}
    while at < len(data):
        size, kind = struct.unpack_from(">I4s", data, at)
        chunks[kind] = chunks.get(kind, b"") + data[at + 8:at + 8 + size]
        at += size + 12
    width, height, depth, color = struct.unpack_from(">IIBB", chunks[b"IHDR"])
    assert color == 0
    step, width_bytes = depth // 8, width * depth // 8
    lines = np.frombuffer(zlib.decompress(chunks[b"IDAT"]), np.uint8).reshape(height, -1)
    rows = np.zeros((height + 1, width_bytes + step), int)
    for y in range(height):
        kind, line, up, row = lines[y][0], lines[y][1:], rows[y], rows[y + 1]
        for x in range(width_bytes):
            a, b, c = row[x], up[x + step], up[x]  # left, above, above left
            nearest = min((abs(b - c), 0, a), (abs(a - c), 1, b), (abs(a + b - 2 * c), 2, c))[2]
            row[x + step] = (line[x] + (0, a, b, (a + b) // 2, nearest)[kind]) % 256
    pixels = rows[1:, step:].astype(np.uint8).tobytes()
    picture = np.frombuffer(pixels, ">u2" if depth == 16 else ">u1").reshape(height, width)
    return picture, chunks[b"sBIT"][0], chunks.get(b"tEXt", b"\0").split(b"\0", 1)[1]


def write_png(path, picture, depth, color=0):
    def chunk(kind, body):
        return struct.pack(">I", len(body)) + kind + body + \
            struct.pack(">I", zlib.crc32(kind + body))
    rows = b"".join(b"\0" + row.tobytes() for row in picture.astype(f">u{depth // 8}"))
    height, width = picture.shape
    path.write_bytes(b"\x89PNG\r\n\x1a\n" + chunk(b"IHDR", struct.pack(
        ">IIBBBBB", width, height, depth, color, 0, 0, 0)) +
        chunk(b"IDAT", zlib.compress(rows)) + chunk(b"IEND", b""))


def read_tiff(path):
    """Picture and the text that tiffinfo shows of the file; of one that is not compressed."""
    text = subprocess.run(["tiffinfo", path], check=True, capture_output=True).stdout.decode("latin-1")
    data = path.read_bytes()
    order = "<" if data[:2] == b"II" else ">"
    at, = struct.unpack_from(order + "I", data, 4)
    count, = struct.unpack_from(order + "H", data, at)
    tags = {}
    for i in range(count):
        tag, kind, n = struct.unpack_from(order + "HHI", data, at + 2 + 12 * i)
        letter = {1: "B", 3: "H", 4: "I"}.get(kind)
        if letter:
            where = at + 10 + 12 * i
            if n * struct.calcsize(letter) > 4:
                where, = struct.unpack_from(order + "I", data, where)
            tags[tag] = struct.unpack_from(f"{order}{n}{letter}", data, where)
    pixels = b"".join(data[offset:offset + size] for offset, size in zip(tags[273], tags[279]))
    return np.frombuffer(pixels, f"{order}u{tags[258][0] // 8}").reshape(
        tags[257][0], tags[256][0]), text


def read_dicom(path, folder):
    """Picture and the text that dcmdump shows of a file in which dciodvfy finds no error."""
    found = subprocess.run(["dciodvfy", path], capture_output=True, text=True).stderr
    assert "Error" not in found and "SCImage" in found, found
    text = subprocess.run(["dcmdump", "+L", "+W", folder, path], check=True,
                          capture_output=True).stdout.decode("latin-1")
    raw, = folder.glob(path.name + "*.raw")
    sizes = {name: int(re.search(rf" US (\d+) .*{name}\n", text)[1])
             for name in ("Rows", "Columns", "BitsAllocated")}
    picture = np.frombuffer(raw.read_bytes(), f"<u{sizes['BitsAllocated'] // 8}")
    raw.unlink()
    return picture[:sizes["Rows"] * sizes["Columns"]].reshape(sizes["Rows"], -1), text
