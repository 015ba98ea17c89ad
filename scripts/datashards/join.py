"""The joined file of one run or of several: written whole, and over nothing else."""

from __future__ import annotations

import contextlib
import filecmp
import hashlib
import os
import shutil
import subprocess
import tempfile
from collections.abc import Sequence
from pathlib import Path

from . import store
from .fault import Fault, WrongCall
from .folder import Run

ARCHIVE = ".zst"


class Output:
    """A new file beside OUT, which becomes OUT when it is whole. Packed by zstd if OUT's name says so."""

    def __init__(self, out: Path) -> None:
        self.out = out
        self.part = out.with_name(f"{out.name}.part.{os.getpid()}")
        self.sum = hashlib.sha256()
        self._packer = None
        try:
            self._file = open(self.part, "xb")
        except OSError as error:
            raise Fault(f"cannot be written: {self.part}: {error.strerror}") from None
        self._stream = self._file
        if out.suffix == ARCHIVE:
            self._errors = tempfile.TemporaryFile()
            self._packer = subprocess.Popen(["zstd", "-q", "-T0", "-10"], stdin=subprocess.PIPE, stdout=self._file,
                                            stderr=self._errors)
            self._stream = self._packer.stdin

    def write(self, piece: bytes) -> None:
        self.sum.update(piece)
        try:
            self._stream.write(piece)
        except OSError as error:
            raise self._fault(error) from None

    def _fault(self, error: OSError | None) -> Fault:
        reason = error.strerror if error else "zstd failed"
        if self._packer:
            self._packer.wait()
            self._errors.seek(0)
            said = self._errors.read().decode(errors="replace").strip().splitlines()
            reason = said[-1] if said else reason
        return Fault(f"cannot be written: {self.part}: {reason}")

    def close(self) -> None:
        try:
            if self._packer:
                self._packer.stdin.close()
                if self._packer.wait() != 0:
                    raise self._fault(None)
            self._file.flush()
            os.fsync(self._file.fileno())
            self._file.close()
        except OSError as error:
            raise self._fault(error) from None

    def abandon(self) -> None:
        if self._packer:
            self._packer.kill()
            self._packer.wait()
            with contextlib.suppress(OSError):
                self._packer.stdin.close()
        self.part.unlink(missing_ok=True)

    def place(self) -> None:
        """Takes OUT's name, or leaves what has it: the same."""
        if self.out.exists() and not self._is_there():
            raise Fault(f"{self.out} exists, and is not what joining gives")
        if self.out.exists():
            self.part.unlink()
        else:
            os.replace(self.part, self.out)

    def _is_there(self) -> bool:
        if not self._packer:
            return self.out.is_file() and filecmp.cmp(self.part, self.out, shallow=False)
        there = hashlib.sha256()
        with subprocess.Popen(["zstd", "-dcq", str(self.out.absolute())], stdout=subprocess.PIPE,
                              stderr=subprocess.DEVNULL) as unpacker:
            while piece := unpacker.stdout.read(1 << 20):
                there.update(piece)
        return unpacker.returncode == 0 and there.digest() == self.sum.digest()


def join(runs: Sequence[Run], out: Path) -> list[store.Survey]:
    """Joins whole runs into OUT and prints the sum of the text, as sha256sum does; of others it tells."""
    if out.suffix == ARCHIVE and not shutil.which("zstd"):
        raise WrongCall("zstd is missing (Debian package: zstd)")
    output = Output(out)
    try:
        found = [store.survey(run, output.write) for run in runs]
        if all(survey.manifest for survey in found):
            output.close()
            output.place()
            name = out.with_suffix("") if out.suffix == ARCHIVE else out
            print(f"{output.sum.hexdigest()}  {name}")
    finally:
        output.abandon()
    return found
