"""What tests of scripts/datagen-shards share: calls of it in a folder of their own."""

from __future__ import annotations

import functools
import hashlib
import json
import os
import pathlib
import shutil
import subprocess
import tempfile
import unittest

from client import DEADLINE, engine_path, run_mode

ROOT = pathlib.Path(__file__).resolve().parents[2]
SCRIPT = ROOT / "scripts" / "datagen-shards"
QUICK = "nodes=50"


@functools.cache
def find_parallel() -> bool:
    """Whether GNU parallel is there: another program has the same name."""
    if shutil.which("parallel") is None:
        return False
    version = subprocess.run(["parallel", "--version"], capture_output=True, check=False)
    return version.stdout.startswith(b"GNU parallel")


needs_parallel = unittest.skipUnless(find_parallel(), "GNU parallel is not installed")


class ShardTest(unittest.TestCase):
    maxDiff = None

    def setUp(self) -> None:
        # A killed run may leave a job behind that still writes.
        temporary = tempfile.TemporaryDirectory(ignore_cleanup_errors=True)
        self.addCleanup(temporary.cleanup)
        self.folder = pathlib.Path(temporary.name).resolve()
        kept = {k: v for k, v in os.environ.items() if not k.startswith("PARALLEL")}
        self.environment = kept | {"HOME": str(self.folder / "home")}
        (self.folder / "home").mkdir()

    # --- helpers ---

    def command(self, *arguments: str) -> dict:
        """What subprocess needs to call the script."""
        return {
            "args": [str(SCRIPT), *arguments],
            "cwd": self.folder,
            "env": self.environment,
            "stdin": subprocess.DEVNULL,
            "stdout": subprocess.PIPE,
            "stderr": subprocess.PIPE,
        }

    def call(self, *arguments: str) -> subprocess.CompletedProcess:
        return subprocess.run(**self.command(*arguments), timeout=DEADLINE, check=False)

    def succeed(self, *arguments: str) -> str:
        result = self.call(*arguments)
        self.assertEqual(result.returncode, 0, result.stderr.decode())
        return result.stdout.decode()

    def fail_with(self, message: str, *arguments: str, status: int = 1) -> None:
        result = self.call(*arguments)
        self.assertEqual((result.returncode, result.stdout), (status, b""), arguments)
        self.assertEqual(result.stderr.decode(), f"datagen-shards: {message}\n")

    def assert_missing(self, shards: str) -> None:
        self.fail_with(f"missing or damaged (run plays them): shard {shards}", "join", "shards")

    def run_shards(self, *arguments: str) -> None:
        self.succeed("run", "shards", f"engine={engine_path()}", QUICK, *arguments)

    def one_run(self, *arguments: str) -> bytes:
        """The file that a single run with these options writes."""
        out = self.folder / "one.txt"
        result = run_mode("datagen", QUICK, *arguments, f"out={out}")
        self.assertEqual(result.returncode, 0, result.stderr.decode())
        data = out.read_bytes()
        self.assertNotEqual(data, b"")
        return data

    def joined(self, out: str = "shards/data.txt") -> bytes:
        printed = self.succeed("join", "shards", *([] if out == "shards/data.txt" else [out]))
        data = (self.folder / out).read_bytes()
        self.assertEqual(printed, f"{hashlib.sha256(data).hexdigest()}  {out}\n")
        return data

    def shard(self, number: int) -> pathlib.Path:
        return self.folder / "shards" / "shards" / f"{number}.gz"

    def record(self, number: int) -> pathlib.Path:
        return self.shard(number).with_suffix(".json")

    def manifest(self, folder: str = "shards") -> dict:
        return json.loads((self.folder / folder / "manifest.json").read_text())

    def present(self) -> dict[str, tuple[int, int]]:
        """Names of the finished shards, and what changes if one is played again."""
        states = {path.name: path.stat() for path in self.shard(1).parent.glob("*.gz") if path.stem.isdigit()}
        return {name: (s.st_ino, s.st_mtime_ns) for name, s in states.items()}

    def log(self) -> list[list[str]]:
        """Number, machine and exit status of the shards, as they ended."""
        rows = (self.folder / "shards" / "joblog").read_text().splitlines()[1:]
        return [[row.split("\t")[i] for i in (0, 1, 6)] for row in rows]

    def write_program(self, name: str, text: str, **values: str) -> str:
        path = self.folder / name
        path.write_text(text.format(folder=self.folder, engine=engine_path(), **values))
        path.chmod(0o755)
        return str(path)
