"""Lifelike exports of any size, made once in a folder."""
import mmap
import subprocess

USERS_IN_A_MEGABYTE = 800  # what the generator makes, roughly
USERS_FOR_A_GROUP = 100
READ_SIZE = 2 ** 24


class Export:
    """A generated file, and the outputs that go beside it."""

    def __init__(self, generator, folder, users, order):
        self.users = users
        self.groups = -(-users // USERS_FOR_A_GROUP)
        self.path = folder / f"export-{users}-{order}.ldif"
        self.work_file = folder / f"{self.path.name}.tmp"
        self.output = folder / "output.ldif"
        if not self.path.exists():
            unfinished = folder / "unfinished"
            subprocess.run([generator, order, str(self.users), str(self.groups), unfinished], check=True)
            unfinished.rename(self.path)
        self.size = self.path.stat().st_size

    def slots(self, passes):
        return [-(-count // passes) for count in (self.users, self.groups)]

    def conversion(self, tool, slots):
        return [tool, self.path, self.output, *map(str, slots)]

    def copying(self, linecopy):
        return [linecopy, self.path, self.output]

    def remove_outputs(self):
        for path in (self.output, self.work_file):
            path.unlink(missing_ok=True)

    def prepare_run(self):
        """Makes two runs alike: the memory that a run fills, output and work file included, has just been in use.

        A machine that is a guest of another one may else have to ask for it, which can take longer than the copy.
        """
        self.remove_outputs()
        size = 3 * self.size // mmap.PAGESIZE * mmap.PAGESIZE
        with mmap.mmap(-1, size) as memory:
            memory[::mmap.PAGESIZE] = bytes(size // mmap.PAGESIZE)

    def warm_up(self):
        """Brings the file into the page cache."""
        with self.path.open("rb", buffering=0) as file:
            while file.read(READ_SIZE):
                pass
