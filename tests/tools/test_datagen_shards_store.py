"""What a run of data generation keeps of its shards, and what it refuses: scripts/datagen-shards check and join."""

from __future__ import annotations

import gzip
import hashlib
import json
import os
import pathlib
import shutil
import subprocess
import tempfile
import unittest
import unittest.mock

from client import DEADLINE, engine_path, run_mode
from datashards import folder, store
from shard_test import QUICK, SCRIPT, ShardTest, needs_parallel

# As the engine, but other bytes: another build.
OTHER_BUILD = "#!/bin/sh\nexec {engine} \"$@\"\n"


def sum_of(data: bytes) -> str:
    return hashlib.sha256(data).hexdigest()


@needs_parallel
class StoreTest(ShardTest):
    """With a run of three shards: two games, two games, one."""

    GAMES = ("games=5", "seed=1")

    def begin(self, *arguments: str) -> None:
        self.run_shards(*self.GAMES, "shard=2", *arguments)

    def text(self, number: int) -> bytes:
        return gzip.decompress(self.shard(number).read_bytes())

    def told(self, *arguments: str, status: int = 1) -> list[str]:
        """The lines of a call that fails."""
        result = self.call(*arguments)
        self.assertEqual(result.returncode, status, result.stderr.decode())
        lines = result.stderr.decode().splitlines()
        self.assertTrue(all(line.startswith("datagen-shards: ") for line in lines), lines)
        return [line.removeprefix("datagen-shards: ") for line in lines]

    def change(self, number: int, **values) -> None:
        record = json.loads(self.record(number).read_text()) | values
        self.record(number).write_text(json.dumps(record))

    def play_again(self, *shards: int) -> None:
        """A run makes exactly these again, and then all is as one run."""
        before = self.present()
        self.succeed("run", "shards")
        after = self.present()
        made = {name for name in after if after[name] != before.get(name)}
        self.assertEqual(made, {f"{number}.gz" for number in shards})
        self.assertEqual(self.joined(), self.one_run(*self.GAMES))


class Records(StoreTest):
    def test_record_and_manifest(self) -> None:
        self.begin()
        engine = {"revision": self.revision(), "sha256": sum_of(pathlib.Path(engine_path()).read_bytes())}
        entries = []
        for number, first, games in ((1, 1, 2), (2, 3, 2), (3, 5, 1)):
            text = self.text(number)
            made = {"positions": text.count(b"\n"), "bytes": len(text), "sha256": sum_of(text)}
            self.assertEqual(json.loads(self.record(number).read_text()), {
                "format": 1, "first_seed": first, "games": games, "options": [QUICK], "engine": engine, **made})
            entries.append({"file": f"shards/{number}.gz", "first_seed": first, "games": games, **made})
        self.assertFalse((self.folder / "shards" / "manifest.json").exists())
        data = self.one_run(*self.GAMES)
        self.assertEqual(self.succeed("check", "shards"),
                         f"shards: 3 shards are whole: 5 games, {data.count(10)} positions,"
                         f" SHA-256 of the text {sum_of(data)}\n")
        expected = {"format": 1, "engine": engine, "options": [QUICK], "first_seed": 1, "games": 5, "shards": entries,
                    "sha256": sum_of(data), "bytes": len(data), "positions": data.count(b"\n")}
        self.assertEqual(self.manifest(), expected)
        (self.folder / "shards" / "manifest.json").unlink()
        self.assertEqual(self.joined(), data)
        self.assertEqual(self.manifest(), expected)

    def revision(self) -> str:
        first = run_mode("--version").stderr.decode().splitlines()[0]
        return first.partition(", revision ")[2] or "unknown"

    def test_an_engine_that_tells_no_revision(self) -> None:
        old = self.write_program("old", '#!/bin/sh\n[ "$1" = datagen ] || exit 1\nexec {engine} "$@"\n')
        self.succeed("run", "shards", f"engine={old}", QUICK, "games=2", "shard=1")
        self.joined()
        self.assertEqual(self.manifest()["engine"],
                         {"revision": "unknown", "sha256": sum_of(pathlib.Path(old).read_bytes())})

    def test_texts_that_are_too_long_to_be_held(self) -> None:
        self.begin()
        run = folder.open_whole(self.folder / "shards")
        with unittest.mock.patch.object(store, "HELD", len(self.text(1)) - 1):
            pieces: list[bytes] = []
            found = store.survey(run, pieces.append)
        self.assertEqual(b"".join(pieces), self.one_run(*self.GAMES))
        self.assertEqual(found.manifest["sha256"], sum_of(b"".join(pieces)))

    def test_a_manifest_that_cannot_be_written(self) -> None:
        self.begin()
        done = subprocess.run(**self.command() | {"args": ["sh", "-c", f"ulimit -f 0; {SCRIPT} check shards"]},
                              timeout=DEADLINE, check=False)
        self.assertEqual((done.returncode, done.stderr.decode()), (1, "datagen-shards: cannot be written:"
                                                                  " shards/manifest.json: File too large\n"))
        self.assertEqual(list((self.folder / "shards").glob("manifest*")), [])

    def test_a_manifest_is_that_of_a_whole_run(self) -> None:
        self.begin()
        self.joined()
        self.shard(2).unlink()
        self.assertEqual(self.told("check", "shards"), ["missing or damaged (run plays them): shard 2"])
        self.assertFalse((self.folder / "shards" / "manifest.json").exists())

    def test_a_run_of_earlier_days(self) -> None:
        """It has neither settings nor records; what is whole is taken as it is."""
        self.begin()
        self.make_old()
        self.shard(2).write_bytes(self.shard(2).read_bytes()[:-9])
        for _ in range(2):
            lines = self.told("check", "shards")
            self.assertEqual(lines[-1], "missing or damaged (run plays them): shard 2")
        self.assertEqual(len(lines), 1)
        self.make_old()
        lines = self.told("join", "shards")
        self.assertEqual(lines, ["adopted without a record, as played by shards/engine: shard 1, 3",
                                 "missing or damaged (run plays them): shard 2"])
        self.assertEqual(json.loads(self.record(3).read_text())["first_seed"], 5)
        self.play_again(2)

    def make_old(self) -> None:
        for number in (1, 2, 3):
            self.record(number).unlink(missing_ok=True)
        for name in ("settings", "play"):
            (self.folder / "shards" / name).unlink(missing_ok=True)

    def test_archive(self) -> None:
        self.begin()
        data = self.one_run(*self.GAMES)
        for _ in range(2):
            self.assertEqual(self.succeed("join", "shards", "all.txt.zst"), f"{sum_of(data)}  all.txt\n")
        unpacked = subprocess.run(["zstd", "-dcq", "all.txt.zst"], cwd=self.folder, stdout=subprocess.PIPE, check=True)
        self.assertEqual(unpacked.stdout, data)
        other = self.folder / "other.zst"
        for content in (b"of earlier days\n", subprocess.run(["zstd", "-qc"], input=b"other\n", check=True,
                                                              stdout=subprocess.PIPE).stdout):
            other.write_bytes(content)
            self.fail_with("other.zst exists, and is not what joining gives", "join", "shards", "other.zst")
            self.assertEqual(other.read_bytes(), content)
        self.assertEqual(list(self.folder.glob("*.part*")), [])


class Faults(StoreTest):
    @classmethod
    def setUpClass(cls) -> None:
        folder = tempfile.TemporaryDirectory()
        cls.addClassCleanup(folder.cleanup)
        cls.begun = pathlib.Path(folder.name) / "shards"
        subprocess.run([str(SCRIPT), "run", str(cls.begun), f"engine={engine_path()}", QUICK, *cls.GAMES, "shard=2"],
                       check=True, stderr=subprocess.DEVNULL)

    def setUp(self) -> None:
        super().setUp()
        shutil.copytree(self.begun, self.folder / "shards")

    def assert_fault(self, line: str, *shards: int) -> None:
        self.fail_with(f"{line} (run plays them): shard {', '.join(map(str, shards))}", "check", "shards")
        self.play_again(*shards)

    def test_a_shard_in_the_place_of_another(self) -> None:
        shutil.copy(self.shard(1), self.shard(2))
        self.assert_fault("missing or damaged", 2)
        shutil.copy(self.shard(1), self.shard(2))
        shutil.copy(self.record(1), self.record(2))
        self.assert_fault("of other seeds than the plan's", 2)

    def test_a_shard_that_has_lost_its_record(self) -> None:
        self.record(2).unlink()
        self.assert_fault("missing or damaged", 2)

    def test_a_short_shard(self) -> None:
        lines = self.text(2).splitlines(keepends=True)
        self.shard(2).write_bytes(gzip.compress(b"".join(lines[:-1])))
        self.assert_fault("shorter than they were made", 2)
        self.change(1, games=1)
        self.assert_fault("shorter than they were made", 1)

    def test_other_text_of_the_same_length(self) -> None:
        self.shard(3).write_bytes(gzip.compress(self.text(3).replace(b"[0.5]", b"[1.0]").swapcase()))
        self.assert_fault("missing or damaged", 3)

    def test_something_behind_the_text(self) -> None:
        self.shard(3).write_bytes(self.shard(3).read_bytes() + gzip.compress(b"8/8/8/8/8/8/8/8 w - - 0 1 [0.5]\n"))
        self.assert_fault("missing or damaged", 3)

    def test_other_options(self) -> None:
        self.change(1, options=["nodes=60"])
        self.change(3, options=[])
        self.assert_fault("of other options than the plan's", 1, 3)

    def test_another_build(self) -> None:
        self.change(2, engine={"revision": "abc", "sha256": "0" * 64})
        self.assert_fault("played by another build of the engine, revision abc", 2)

    def test_no_record_at_all(self) -> None:
        for text in ("", "no record\n", "[]", "{}", "[" * 100000, '{"first_seed": "3"}', "\udcff"):
            with self.subTest(text):
                self.record(2).write_bytes(text.encode(errors="surrogateescape"))
                self.assertEqual(self.told("check", "shards"),
                                 ["with a record that cannot be read (run plays them): shard 2"])
        self.assert_fault("with a record that cannot be read", 2)

    def test_each_fault_has_its_line(self) -> None:
        self.shard(1).write_bytes(b"")
        self.change(2, options=[])
        self.record(3).write_text("x")
        for command in ("check", "join"):
            self.assertEqual(self.told(command, "shards"), [
                "missing or damaged (run plays them): shard 1",
                "of other options than the plan's (run plays them): shard 2",
                "with a record that cannot be read (run plays them): shard 3"])
        self.play_again(1, 2, 3)

    def test_foreign_files_stay(self) -> None:
        for name in ("4.gz", "notes.txt", "0.gz", "1.gz.bak"):
            (self.shard(1).parent / name).write_text("of earlier days\n")
        result = self.call("check", "shards")
        self.assertEqual((result.returncode, result.stderr.decode()), (0, "datagen-shards: no part of the run, and left"
                         " alone: 0.gz, 1.gz.bak, 4.gz and 1 more in shards/shards\n"))
        self.succeed("run", "shards")
        self.assertEqual(self.joined(), self.one_run(*self.GAMES))
        self.assertEqual((self.shard(1).parent / "4.gz").read_text(), "of earlier days\n")

    def test_a_plan_that_was_edited(self) -> None:
        plan = self.folder / "shards" / "plan"
        lines = plan.read_text().splitlines(keepends=True)
        before = self.present()
        advice = "remove shards/plan, and run writes it again"
        for edited, told in (
            ([lines[0], lines[1].replace("seed=3", "seed=7"), lines[2]],
             "line 2 is 'games=2 seed=7 nodes=50', and was 'games=2 seed=3 nodes=50'"),
            ([line.replace("nodes=50", "nodes=60") for line in lines],
             "line 1 is 'games=2 seed=1 nodes=60', and was 'games=2 seed=1 nodes=50'"),
            (lines[:2], "line 3 is missing, and was 'games=1 seed=5 nodes=50'"),
            ([*lines, "games=2 seed=6 nodes=50\n"], "line 4 is too much"),
            (["\udcff\n"], "line 1 is '\ufffd', and was 'games=2 seed=1 nodes=50'"),
        ):
            plan.write_bytes("".join(edited).encode(errors="surrogateescape"))
            for command in ("check", "join", "run"):
                self.fail_with(f"shards/plan was edited: {told}; {advice}", command, "shards")
        plan.unlink()
        self.succeed("run", "shards")
        self.assertEqual(plan.read_text(), "".join(lines))
        self.assertEqual(self.present(), before)
        (self.folder / "shards" / "settings").unlink()
        plan.write_text("of earlier days\n")
        self.fail_with("shards/plan was edited: line 1 is no shard's: of earlier days", "run", "shards")

    def test_settings_that_were_edited(self) -> None:
        settings = self.folder / "shards" / "settings"
        text = settings.read_text()
        for edited in ("", "games=5\n", text.replace("games=5", "games=x"), text.rpartition("=")[0], text + "more\n"):
            settings.write_text(edited)
            line, = self.told("check", "shards")
            self.assertTrue(line.startswith("shards/settings was edited: "), line)

    def test_an_engine_that_was_changed(self) -> None:
        engine = self.folder / "shards" / "engine"
        kept = engine.read_bytes()
        told = (f"shards/engine is not the engine that the run was begun with (SHA-256 {sum_of(kept)}):"
                " put that back, by engine=PATH for example")
        shutil.copy(self.write_program("other", OTHER_BUILD), engine)
        for command in ("check", "join", "run"):
            self.fail_with(told, command, "shards")
        engine.unlink()
        self.fail_with(told, "check", "shards")
        self.fail_with("shards holds a run of another engine", "run", "shards", f"engine={self.folder / 'other'}")
        self.succeed("run", "shards", f"engine={engine_path()}")
        self.assertEqual(engine.read_bytes(), kept)
        self.succeed("check", "shards")


class OverlappingSeeds(StoreTest):
    def make(self, name: str, games: int, seed: int) -> None:
        self.succeed("run", name, f"engine={engine_path()}", QUICK, f"games={games}", f"seed={seed}")

    def test_overlap(self) -> None:
        last = 2**64 - 1
        for name, games, seed in (("a", 3, 10), ("b", 3, 13), ("c", 2, 12), ("d", 9, 8), ("e", 3, last), ("f", 1, 1)):
            self.make(name, games, seed)
        for one, other, told in (
            ("a", "c", "a has 10 to 12, c has 12 to 13"),
            ("c", "a", "c has 12 to 13, a has 10 to 12"),
            ("a", "d", "a has 10 to 12, d has 8 to 16"),
            ("d", "a", "d has 8 to 16, a has 10 to 12"),
            ("e", "f", f"e has {last} to 1, f has 1 to 1"),
            ("f", "e", f"f has 1 to 1, e has {last} to 1"),
            ("b", "b", "b has 13 to 15, b has 13 to 15"),
        ):
            for command in (["check", one, other], ["check", "b", one, other], ["join", one, other, "all.txt"]):
                result = self.call(*command)
                self.assertEqual(result.returncode, 1)
                self.assertTrue(result.stderr.decode().startswith("datagen-shards: seeds overlap: "), result.stderr)
                self.assertEqual(result.stderr.count(b"\n"), 1)
                if command[1] != "b" or one == "b":
                    self.assertIn(told, result.stderr.decode())
        self.assertFalse((self.folder / "all.txt").exists())

    def test_several_runs_in_one_file(self) -> None:
        last = 2**64 - 1
        self.make("a", 2, last)
        self.make("b", 2, 1)
        joined = self.one_run("games=4", f"seed={last}")
        self.assertEqual(self.succeed("join", "a", "b", "all.txt"), f"{sum_of(joined)}  all.txt\n")
        self.assertEqual((self.folder / "all.txt").read_bytes(), joined)
        self.assertEqual(self.manifest("b")["first_seed"], 1)
        self.assertEqual(self.succeed("check", "a", "b").count("\n"), 2)
        (self.folder / "b" / "shards" / "1.gz").unlink()
        self.fail_with("b: missing or damaged (run plays them): shard 1", "join", "a", "b", "more.txt")
        self.assertEqual((self.manifest("a")["games"], list(self.folder.glob("more*"))), (2, []))
        self.fail_with("join takes folders and then a file: b is a run", "join", "a", "b", status=2)


def can_mount() -> bool:
    """Whether a user may have a file system of their own here."""
    if not shutil.which("unshare"):
        return False
    return subprocess.run(["unshare", "-rm", "mount", "-t", "tmpfs", "none", "/mnt"], check=False,
                          stderr=subprocess.DEVNULL).returncode == 0


@unittest.skipUnless(can_mount(), "no file system can be mounted here")
class FullDisk(StoreTest):
    GAMES = ("games=40", "seed=1")

    def setUp(self) -> None:
        super().setUp()
        (self.folder / "small").mkdir()

    def on_a_small_disk(self, commands: str) -> subprocess.CompletedProcess:
        """Runs shell commands where the folder `small` has room for the engine and a little more."""
        room = os.path.getsize(engine_path()) // 1024 + 64
        mount = f"mount -t tmpfs -o size={room}k none small; {commands}"
        arguments = self.command() | {"args": ["unshare", "-rm", "sh", "-c", mount]}
        return subprocess.run(**arguments, timeout=DEADLINE, check=False)

    def test_while_games_are_played(self) -> None:
        done = self.on_a_small_disk(
            f"{SCRIPT} run small/run engine={engine_path()} {QUICK} games=40 shard=4 -- -j 1; echo $?\n"
            f"{SCRIPT} check small/run; echo $?; ls small/run/shards | grep -c part; cp -r small/run shards")
        lines = done.stderr.decode().splitlines()
        status, faulty, parts = done.stdout.decode().split()
        self.assertEqual((status, faulty, parts), ("1", "1", "0"), lines)
        told = [line for line in lines if line.startswith("datagen-shards: ")]
        self.assertEqual(len(told), 2, lines)
        left = told[0].removeprefix("datagen-shards: not made (the same call plays them): shard ")
        self.assertEqual(told[1], f"datagen-shards: missing or damaged (run plays them): shard {left}")
        whole = self.present()
        self.assertGreater(len(whole), 0)
        self.succeed("run", "shards")
        self.assertLessEqual(whole.items(), self.present().items())
        self.assertEqual(self.joined(), self.one_run(*self.GAMES))

    def test_while_shards_are_joined(self) -> None:
        self.run_shards(*self.GAMES, "shard=4")
        for out in ("all.txt", "all.zst"):
            done = self.on_a_small_disk(f"cat /dev/zero >small/other || true; {SCRIPT} join shards small/{out};"
                                        " echo $?; ls small")
            told = [line for line in done.stderr.decode().splitlines() if not line.startswith("cat: ")]
            self.assertEqual(done.stdout.decode().split(), ["1", "other"], told)
            self.assertRegex("\n".join(told), rf"^datagen-shards: cannot be written: small/{out}\.part\.\d+: .*"
                                              "No space left on device$")


if __name__ == "__main__":
    unittest.main()
