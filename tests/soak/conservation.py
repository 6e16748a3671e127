"""The law of conservation, checked from outside: every image that the library ever had is in its
store, or a file of its own reads back as it; and no file that held an image is replaced or deleted.
The simulated library moves removed images aside, and each stays there until its file is found."""
import dataclasses
import hashlib
import pathlib
import struct

from program import Failure


@dataclasses.dataclass(frozen=True)
class Image:
    """What must not change between the library and the file."""
    image_id: int
    width: int
    height: int
    bits: int
    pixels: bytes
    header_text: bytes
    user_id: bytes


class Conservation:
    """Follows the images of one program through all its runs."""

    def __init__(self, program):
        self.program = program
        self.saved = set()    # numbers of images whose files were found whole and right
        self._files = {}      # digest of the content of each of these files -> its number
        self.cut_short = 0    # files that hold no whole image, at the last check
        program.configure(removed_folder=program.removed)

    def check(self, keep):
        """Raises Failure when the law is broken. Deletes the oldest files beyond those to keep."""
        removed = {int(path.stem) for path in self.program.removed.glob("*.tarn")}
        paths = self._check_files()
        if lost := removed - self.saved:
            raise Failure(f"removed from the store without a file: images {sorted(lost)[:20]}")
        for image_id in removed:
            self._truth_file(self.program.removed, image_id).unlink()
        # A file whose image is still in the store proves nothing yet, and stays.
        stored = self.program.stored_ids()
        ready = [digest for digest, image_id in self._files.items() if image_id not in stored]
        for digest in ready[:max(0, len(ready) - keep)]:
            paths[digest].unlink()
            del self._files[digest]

    def _check_files(self):
        """Compares every file with its image, and the files with those of earlier checks. Returns
        the path of each digest."""
        paths, self.cut_short = {}, 0
        for path in sorted(self.program.images.glob("*"), key=lambda path: path.stat().st_mtime_ns):
            content = path.read_bytes()
            digest = hashlib.sha256(content).digest()
            is_known = digest in self._files
            image = None if is_known else q32_image(content)
            if not is_known and image is None:
                self.cut_short += 1
                continue
            if digest in paths:
                raise Failure(f"{path.name} holds the same image as {paths[digest].name}")
            paths[digest] = path
            if is_known:
                continue
            if image.image_id in self.saved:
                raise Failure(f"{path.name} holds image {image.image_id}, saved once before")
            if image != self._truth(image.image_id):
                raise Failure(f"{path.name} differs from image {image.image_id} of the library")
            self._files[digest] = image.image_id
            self.saved.add(image.image_id)
        if gone := [number for digest, number in self._files.items() if digest not in paths]:
            raise Failure(f"replaced or deleted: the files of images {sorted(gone)[:20]}")
        return paths

    def _truth(self, image_id):
        """The image as the library has or had it. An image moves from the store only."""
        for folder in (self.program.store, self.program.removed):
            try:
                return stored_image(self._truth_file(folder, image_id).read_bytes())
            except FileNotFoundError:
                pass
        return None

    @staticmethod
    def _truth_file(folder, image_id):
        return pathlib.Path(folder) / f"{image_id:010}.tarn"


def q32_image(content):
    """The image that a saved file holds, or None unless it is whole: the header, all pixels, both
    texts and nothing behind."""
    try:
        magic, offset, image_id, _, rows, length, bits = struct.unpack("<II16xIIIII", content[:44])
        end = offset + rows * length * ((bits + 7) // 8)
        parts = [content[offset:end]]
        for _ in range(2):
            begin = end + 4
            end = begin + struct.unpack_from("<I", content, end)[0]
            parts.append(content[begin:end])
    except struct.error:
        return None
    if (magic, offset, end) != (0x01007157, 44, len(content)):
        return None
    return Image(image_id, length, rows, bits, *parts)


def stored_image(content):
    """The image in a file of the simulated library's store."""
    width, height, pixel_bytes, bits, image_id, _, *texts = struct.unpack_from("<8I", content, 8)
    parts, end = [], 40
    for size in (width * height * pixel_bytes, *texts):
        parts.append(content[end:end + size])
        end += size
    if content[:8] != b"TarnImg1" or end != len(content):
        raise Failure(f"image {image_id} of the store is not whole")
    return Image(image_id, width, height, bits, *parts)
