"""The law of conservation, checked from outside: every image that the library ever had is in its
store, or a file of its own is what it has to be saved as; and no file that held an image is replaced
or deleted. The simulated library moves removed images aside, and each stays there until its file is
found."""
import hashlib
import pathlib
import struct

from program import Failure


class Conservation:
    """Follows the images of one program through all its runs."""

    def __init__(self, program):
        self.program = program
        self.saved = set()    # numbers of images whose files were found whole and right
        self._found = set()   # digests of these files
        self._files = {}      # digest of each that was not deleted here -> its number
        self._parts = set()   # digests of files that were found cut short
        self.cut_short = 0    # such files at the last check
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
            if digest not in self._files and not self._is_whole(path.name, content, digest):
                self.cut_short += 1
                continue
            if digest in paths:
                raise Failure(f"{path.name} holds the same image as {paths[digest].name}")
            paths[digest] = path
        if gone := [number for digest, number in self._files.items() if digest not in paths]:
            raise Failure(f"replaced or deleted: the files of images {sorted(gone)[:20]}")
        return paths

    def _is_whole(self, name, content, digest):
        """Of a file that was not known: all of what its image is saved as, or only its beginning."""
        image_id = int.from_bytes(content[24:28], "little")
        if len(content) < 28 or digest in self._parts:
            return False
        if digest in self._found:
            raise Failure(f"{name} holds image {image_id}, saved once before")
        whole = self._file_of(image_id)
        if not whole.startswith(content):
            raise Failure(f"{name} differs from image {image_id} of the library")
        if content != whole:
            self._parts.add(digest)
            return False
        self.saved.add(image_id)
        self._found.add(digest)
        self._files[digest] = image_id
        return True

    def _file_of(self, image_id):
        """What the image is saved as that the library has or had; nothing when it has none. An image
        moves from the store only."""
        for folder in (self.program.store, self.program.removed):
            try:
                return file_of(self._truth_file(folder, image_id).read_bytes())
            except FileNotFoundError:
                pass
        return b""

    @staticmethod
    def _truth_file(folder, image_id):
        return pathlib.Path(folder) / f"{image_id:010}.tarn"


def file_of(content):
    """The saved file of an image in the simulated library's store: the header, all pixels and both
    texts."""
    width, height, pixel_bytes, bits, image_id, _, *texts = struct.unpack_from("<8I", content, 8)
    end = 40 + width * height * pixel_bytes
    file = struct.pack("<4sI16x5I", b"Wq\0\1", 44, image_id, 1, height, width, bits) + content[40:end]
    for size in texts:
        file += struct.pack("<I", size) + content[end:end + size]
        end += size
    if content[:8] != b"TarnImg1" or end != len(content):
        raise Failure(f"image {image_id} of the store is not whole")
    return file
