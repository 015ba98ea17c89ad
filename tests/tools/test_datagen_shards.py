"""A run of data generation in shards: scripts/datagen-shards, and what docs/datagen.md says."""

from __future__ import annotations

import re
import shutil
import signal
import subprocess
import time
import unittest

from client import DEADLINE, engine_path, run_mode
from shard_test import QUICK, ROOT, ShardTest, needs_parallel

GUIDE = ROOT / "docs" / "datagen.md"

# Plays like the engine, but at the first shard with seed 3 it writes half a line, says so, and does
# not go on, or fails, as long as the file `hold` is there.
MOODY_ENGINE = """#!/bin/sh
for argument; do out=${{argument#out=}}; done
case " $* " in *" seed=3 "*)
    if [ -e {folder}/hold ]; then
        printf 'half a li' >"$out"
        touch {folder}/held
        {mood}
    fi
esac
exec {engine} "$@"
"""

# A remote shell without a network: `ssh [OPTION...] HOST [--] COMMAND...` gives the command another
# home and none of the caller's environment. While the file `broken` is there, no file comes back. A machine with a
# file HOST.engine has an engine of its own.
FAKE_SSH = """#!/bin/sh
while [ "${{1#-}}" != "$1" ]; do shift; done
host=$1; shift
[ "$1" != -- ] || shift
echo "$*" >>{folder}/"$host".log
case "$*" in *--sender*) [ ! -e {folder}/broken ] || exit 12 ;; esac
mkdir -p {folder}/"$host"
cd {folder}/"$host" || exit
[ ! -e {folder}/"$host".engine ] || engine=DATAGEN_ENGINE={folder}/$host.engine
exec env -i $engine HOME="$PWD" PATH="$PATH" SHELL=/bin/sh sh -c "$*"
"""


@needs_parallel
class OneMachine(ShardTest):
    def test_shards_are_one_run(self) -> None:
        expected = self.one_run("games=11", "seed=5")
        for size, count in ((1, 11), (4, 3), (100, 1)):
            with self.subTest(size):
                self.run_shards("games=11", "seed=5", f"shard={size}")
                self.assertEqual(len(self.present()), count)
                self.assertEqual(self.joined(), expected)
                shutil.rmtree(self.folder / "shards")

    def test_options_reach_the_engine(self) -> None:
        options = ("games=4", "randomplies=4", "score=0", "maxplies=30")
        self.run_shards("shard=2", *options)
        self.assertEqual(self.joined("all.txt"), self.one_run(*options))

    def test_seeds_near_their_end(self) -> None:
        for seed in (2**63 - 2, 2**64 - 2, 2**64 - 1):
            with self.subTest(seed):
                self.run_shards("games=5", f"seed={seed}", "shard=2")
                plan = (self.folder / "shards" / "plan").read_text()
                seeds = [int(s) for s in re.findall(r"seed=(\d+)", plan)]
                self.assertEqual(seeds, [(seed + i) % 2**64 for i in (0, 2, 4)])
                self.assertEqual(self.joined(), self.one_run("games=5", f"seed={seed}"))
                shutil.rmtree(self.folder / "shards")

    def test_bad_settings(self) -> None:
        engine = f"engine={engine_path()}"
        for setting, message in (
            ("out=x", "out=x: shards have names of their own, and join names the joined file"),
            ("games=0", "no number of games: games=0"),
            ("games=-1", "no number of games: games=-1"),
            ("games=ten", "no number of games: games=ten"),
            ("shard=0", "no number of games: shard=0"),
            ("seed=-1", "no number: seed=-1"),
            ("seed=", "no number: seed="),
            (f"seed={2**64}", f"more than 64 bits: seed={2**64}"),
            ("nodes=many", "neither setting nor option: nodes=many"),
            ("nodes=1;ls", "neither setting nor option: nodes=1;ls"),
            ("10", "neither setting nor option: 10"),
            ("depth=3", "the engine does not take: depth=3"),
        ):
            with self.subTest(setting):
                self.fail_with(message, "run", "shards", engine, setting, status=2)
        for twice in ("games=1", "seed=1", "shard=1", "nodes=1", engine):
            key = twice.split("=")[0]
            self.fail_with(f"{key}= is given twice", "run", "shards", twice, twice, status=2)
        self.fail_with("no engine: none", "run", "shards", "engine=none", status=2)
        self.fail_with("run: which folder?", "run", status=2)
        self.fail_with("run: which folder?", "run", "--", "-j", "2", status=2)
        self.fail_with("no run in shards", "join", "shards")
        self.assertFalse((self.folder / "shards").exists())

    def test_usage(self) -> None:
        self.assertIn("Usage: datagen-shards run DIR", self.succeed("--help"))
        for arguments in ([], ["play"], ["play", "--", "--help"]):
            self.fail_with("run, slurm, kubernetes, check or join? (see --help)", *arguments, status=2)

    def test_a_folder_of_other_things_stays(self) -> None:
        for name in ("engine", "joblog", "shards/1.gz", "README.md", "plans/plan"):
            path = self.folder / "other" / name
            path.parent.mkdir(parents=True)
            path.write_text("of earlier days\n")
            self.fail_with("other holds other things: no run was begun there", "run", "other",
                           f"engine={engine_path()}", "games=1")
            self.assertEqual(path.read_text(), "of earlier days\n")
            self.assertEqual([each for each in (self.folder / "other").rglob("*") if each.is_file()], [path])
            shutil.rmtree(self.folder / "other")
        (self.folder / "file").touch()
        self.fail_with("file is no folder", "run", "file", f"engine={engine_path()}", "games=1")

    def test_joining_writes_over_nothing_else(self) -> None:
        self.run_shards("games=2", "shard=1")
        kept = self.folder / "kept.txt"
        kept.write_text("of earlier days\n")
        self.fail_with("kept.txt exists, and is not what joining gives", "join", "shards", "kept.txt")
        self.assertEqual(kept.read_text(), "of earlier days\n")
        for _ in range(2):
            self.assertEqual(self.joined(), self.one_run("games=2"))
        self.assertEqual([path.name for path in self.folder.glob("*.part*")], [])
        self.fail_with("join takes folders and a file: shards a b", "join", "shards", "a", "b", status=2)

    def test_a_folder_holds_one_run(self) -> None:
        self.run_shards("games=3", "seed=8", "shard=2")
        played = self.present()
        self.run_shards("games=3", "seed=8", "shard=2")
        self.succeed("run", "shards")
        self.run_shards("shard=2", "games=3", "seed=8")
        for settings, told in (
            (["games=4", "seed=8", "shard=2", QUICK], "games=3 there, games=4 here"),
            (["games=3"], "nodes=50 seed=8 shard=2 there, seed=1 here"),
            (["games=3", "seed=8", "shard=2", "nodes=60"], "nodes=50 there, nodes=60 here"),
            (["games=3", "seed=8", "shard=2"], "nodes=50 there, nothing here"),
            (["games=3", "seed=8", "shard=2", QUICK, "skipcheck=0"], "nothing there, skipcheck=0 here"),
        ):
            self.fail_with(f"shards holds a run with other settings: {told}; take another folder, or give the same"
                           " settings, or none", "run", "shards", *settings)
        stranger = "engine=" + self.write_program("stranger", MOODY_ENGINE, mood="exit 1")
        settings = (stranger, QUICK, "games=3", "seed=8", "shard=2")
        self.fail_with("shards holds a run of another engine", "run", "shards", *settings)
        self.assertEqual(self.present(), played)


@needs_parallel
class Interruption(ShardTest):
    GAMES = ("games=5", "seed=1")

    def begin(self, mood: str) -> tuple[str, ...]:
        """The arguments of a run whose third shard does not end well."""
        (self.folder / "hold").touch()
        moody = self.write_program("moody", MOODY_ENGINE, mood=mood)
        return ("run", "shards", f"engine={moody}", QUICK, *self.GAMES, "shard=1")

    def test_a_killed_run_goes_on(self) -> None:
        hold, held = self.folder / "hold", self.folder / "held"
        expected = self.one_run(*self.GAMES)
        # A job that outlives its run ends beside its own repetition.
        for number in (signal.SIGTERM, signal.SIGKILL):
            with self.subTest(number):
                arguments = self.begin(f"while [ -e {hold} ]; do sleep 0.02; done")
                process = subprocess.Popen(**self.command(*arguments, "--", "-j", "1"))
                end = time.monotonic() + DEADLINE
                while not held.exists() and time.monotonic() < end:
                    time.sleep(0.01)
                process.send_signal(number)
                process.communicate(timeout=DEADLINE)
                self.assertNotEqual(process.returncode, 0)

                played = self.present()
                self.assertEqual(sorted(played), ["1.gz", "2.gz"])
                self.assert_missing("3, 4, 5")
                hold.unlink()
                self.succeed("run", "shards", "--", "-j", "2")
                self.assertEqual(sorted(self.present()), [f"{i}.gz" for i in range(1, 6)])
                self.assertLessEqual(played.items(), self.present().items())
                self.assertEqual(self.joined(), expected)
                shutil.rmtree(self.folder / "shards")
                held.unlink()

    def test_a_failed_shard_is_played_again(self) -> None:
        arguments = self.begin("exit 1")
        self.assertEqual(self.call(*arguments).returncode, 1)
        played = self.present()
        self.assertEqual(sorted(played), ["1.gz", "2.gz", "4.gz", "5.gz"])
        self.assert_missing("3")
        (self.folder / "hold").unlink()
        self.succeed(*arguments)
        self.assertLessEqual(played.items(), self.present().items())
        self.assertEqual(self.joined(), self.one_run(*self.GAMES))

    def test_join_refuses_what_is_not_whole(self) -> None:
        self.run_shards(*self.GAMES, "shard=1")
        whole = self.shard(2).read_bytes()
        half = len(whole) // 2
        flipped = whole[:half] + bytes([whole[half] ^ 1]) + whole[half + 1 :]
        part = self.shard(2).rename(self.shard(2).with_name("2.part.123.gz"))
        self.assert_missing("2")
        for name, damaged in (("empty", b""), ("short by a byte", whole[:-1]),
                              ("half", whole[:half]), ("a wrong bit", flipped)):
            with self.subTest(name):
                self.shard(2).write_bytes(damaged)
                self.assert_missing("2")
        self.assertFalse((self.folder / "shards" / "data.txt").exists())

        others = {name: state for name, state in self.present().items() if name != "2.gz"}
        self.succeed("run", "shards")
        self.assertLessEqual(others.items(), self.present().items())
        self.assertEqual(self.shard(2).read_bytes(), whole)
        self.assertEqual(self.joined(), self.one_run(*self.GAMES))
        self.assertFalse(part.exists())


@needs_parallel
@unittest.skipIf(shutil.which("rsync") is None, "rsync is not installed")
class ManyMachines(ShardTest):
    def setUp(self) -> None:
        super().setUp()
        self.environment["PARALLEL_SSH"] = self.write_program("fake-ssh", FAKE_SSH)

    def assert_left_clean(self, host: str) -> None:
        files = [path for path in (self.folder / host).rglob("*") if not path.is_dir()]
        self.assertEqual(files, [])

    def test_shards_come_home(self) -> None:
        (self.folder / "machines").write_text("1/:\n1/far\n1/farther\n")
        self.run_shards("games=6", "shard=1", "--", "--sshloginfile", "machines")
        self.assertEqual({host for _, host, _ in self.log()}, {":", "far", "farther"})
        self.assertEqual(self.joined(), self.one_run("games=6"))
        for host in ("far", "farther"):
            self.assertIn("engine", (self.folder / f"{host}.log").read_text())
            self.assert_left_clean(host)

    def test_a_machine_with_another_build_of_the_engine(self) -> None:
        self.write_program("far.engine", "#!/bin/sh\n[ $1 = datagen ] || exec echo Morvane 0.1, revision abc\n"
                                         'exec {engine} "$@"\n')
        self.run_shards("games=3", "shard=1", "--", "-S", "1/far")
        self.fail_with("played by another build of the engine, revision abc (run plays them): shard 1, 2, 3", "join",
                       "shards")
        self.succeed("run", "shards")
        self.assertEqual(self.joined(), self.one_run("games=3"))

    def test_a_worker_that_is_killed(self) -> None:
        (self.folder / "hold").touch()
        moody = self.write_program("moody", MOODY_ENGINE, mood="kill -9 $PPID; exit 1")
        result = self.call("run", "shards", f"engine={moody}", QUICK, "games=4", "shard=1", "--", "-S", "1/far")
        self.assertEqual(result.returncode, 1)
        self.assertTrue(result.stderr.endswith(
            b"\ndatagen-shards: not made (the same call plays them): shard 3\n"), result.stderr)
        made = self.present()
        (self.folder / "hold").unlink()
        self.succeed("run", "shards", "--", "-S", "1/far")
        self.assertLessEqual(made.items(), self.present().items())
        self.assertEqual(self.joined(), self.one_run("games=4"))
        self.assert_left_clean("far")

    def test_a_shard_that_is_lost_on_its_way(self) -> None:
        (self.folder / "broken").touch()
        self.call("run", "shards", f"engine={engine_path()}", QUICK, "games=2", "shard=1", "--",
                  "-S", "1/far")
        self.assertEqual(self.present(), {})
        self.assert_missing("1, 2")
        (self.folder / "broken").unlink()
        self.succeed("run", "shards", "--", "-S", "1/far")
        self.assertEqual(self.joined(), self.one_run("games=2"))
        self.assert_left_clean("far")


class Guide(ShardTest):
    """The table and the examples of the guide are what the engine knows and writes."""

    def fences(self, label: str) -> list[str]:
        text = GUIDE.read_text(encoding="utf-8")
        return re.findall(rf"^```{label}\n(.*?)^```$", text, re.MULTILINE | re.DOTALL)

    def test_table_of_options(self) -> None:
        text = GUIDE.read_text(encoding="utf-8")
        rows = re.findall(r"^\| `(\w+)` \| (\S+) \|", text, re.MULTILINE)
        self.assertEqual(len(rows), 19)
        defaults = [f"{key}={value}" for key, value in rows]
        self.assertEqual(self.one_run(*defaults, QUICK, "games=3"), self.one_run("games=3"))

    def test_examples(self) -> None:
        examples = "".join(self.fences("text")).splitlines()
        line, = [e for e in examples if re.search(r" \[0\.5\] \[125\]$", e)]
        row, = [e for e in examples if e.startswith("0.5 5 8 ")]
        data, rows = self.folder / "data.txt", self.folder / "rows.txt"
        data.write_text(line + "\n")
        self.assertEqual(run_mode("featureexport", str(data), str(rows)).returncode, 0)
        self.assertEqual(rows.read_text(), row + "\n")

        # And the value that the guide works out from the row and the weights.
        weights = run_mode("tuneparams").stdout.decode().splitlines()
        for weight in (e for e in examples if re.fullmatch(r"\d+ \w+ -?\d+|# .*", e)):
            self.assertIn(weight, weights)
        _, phase, scale, mg, eg, _, *triples = map(float, row.split())
        for k, mg_count, eg_count in zip(*[iter(map(int, triples))] * 3):
            weight = int(weights[k + 1].split()[2])
            mg, eg = mg + mg_count * weight, eg + eg_count * weight
        value = int((phase * mg + int(scale * eg / 64) * (24 - phase)) / 24)
        faded = value * (200 - 16) // 200
        told = [re.search(r"= +(-?\d+)$", e)[1] for e in examples if re.match(r"(?:mg|eg|value) = ", e)]
        self.assertEqual(told, [f"{mg:.0f}", f"{eg:.0f}", str(value)])
        self.assertIn(f"{value} * (200 - 16) / 200 = {faded}", GUIDE.read_text(encoding="utf-8"))
        trace = run_mode("evaltrace", line.split(" [")[0]).stdout.decode()
        self.assertIn(f"  final (white)   {faded}\n", trace)


if __name__ == "__main__":
    unittest.main()
