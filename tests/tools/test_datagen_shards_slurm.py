"""Data generation by Slurm: scripts/datagen-shards slurm, on a cluster that the test starts on this machine."""

from __future__ import annotations

import os
import pathlib
import shutil
import signal
import subprocess
import tempfile
import time
import unittest

from client import engine_path
from shard_test import QUICK, ShardTest
from slurm_cluster import Cluster, missing_packages, wait_for

if missing_packages():
    raise unittest.SkipTest(f"Slurm is not installed (Debian packages: {missing_packages()})")
if not os.path.isdir("/proc/self"):
    raise unittest.SkipTest("reads the system's process table")

# Plays like the engine; but where the file hold.SEED is there, it says by held.SEED which process it is, and waits.
HELD_ENGINE = """#!/bin/sh
for argument; do case $argument in seed=*) seed=${{argument#seed=}} ;; esac; done
if [ "$1" = datagen ] && [ -e {folder}/hold.$seed ]; then
    echo $$ >{folder}/held.part && mv {folder}/held.part {folder}/held.$seed
    while [ -e {folder}/hold.$seed ]; do sleep 0.05; done
fi
exec {engine} "$@"
"""


def setUpModule() -> None:
    folder = tempfile.TemporaryDirectory(ignore_cleanup_errors=True)
    unittest.addModuleCleanup(folder.cleanup)
    SlurmTest.cluster = Cluster(pathlib.Path(folder.name).resolve())
    unittest.addModuleCleanup(stop, SlurmTest.cluster)
    SlurmTest.cluster.start()


def stop(cluster: Cluster) -> None:
    cluster.stop()
    if cluster.processes():
        raise AssertionError(f"left behind: {cluster.processes()}")


class SlurmTest(ShardTest):
    cluster: Cluster  # of all tests

    def setUp(self) -> None:
        super().setUp()
        self.environment |= self.cluster.environment
        self.addCleanup(self.cluster.call, "scancel", "--quiet", f"--user={os.getuid()}", check=False)

    def submit(self, *arguments: str, folder: str = "shards") -> tuple[str, str]:
        """The number of the job, and what was said of it."""
        said = self.succeed("slurm", folder, *arguments)
        self.assertRegex(said, r"^submitted: job \d+, \d+ tasks for \d+ shards\n$")
        job, _, rest = said.removeprefix("submitted: job ").partition(", ")
        return job, rest.removesuffix("\n")

    def made(self) -> set[int]:
        return {int(path.stem) for path in self.shard(1).parent.glob("*.json")}


class Killed(SlurmTest):
    GAMES = ("games=12", "seed=1")

    def hold(self, *seeds: int) -> None:
        for seed in seeds:
            (self.folder / f"hold.{seed}").touch()

    def held(self, seed: int) -> int:
        """Waits until a game is about to begin; returns the process."""
        path = self.folder / f"held.{seed}"
        wait_for(path.exists, f"the game of seed {seed}; there are {self.cluster.jobs()}")
        process = int(path.read_text())
        path.unlink()
        return process

    def release(self, *seeds: int) -> None:
        for seed in seeds:
            (self.folder / f"hold.{seed}").unlink()

    @staticmethod
    def parent(process: int) -> int:
        stat = pathlib.Path(f"/proc/{process}/stat").read_text()
        return int(stat.rpartition(")")[2].split()[1])

    def task_of(self, process: int) -> int:
        """The process of the batch script that an engine belongs to: the child of its step."""
        while b"slurmstepd" not in pathlib.Path(f"/proc/{self.parent(process)}/cmdline").read_bytes():
            process = self.parent(process)
        return process

    def held_again(self, task: str, seed: int) -> None:
        """Waits for a task that was sent back. Slurm would let it wait for minutes, and a node that was down longer;
        but it refuses one that begins again within the second in which it was ended."""
        def begun() -> bool:
            if f"{task} PENDING" in self.cluster.jobs():
                for what in (f"JobId={task} StartTime=now", f"NodeName={self.cluster.host} State=RESUME"):
                    self.cluster.call("scontrol", "update", *what.split(), check=False)  # the node may be up
            return (self.folder / f"held.{seed}").exists()

        wait_for(lambda: f"{task} PENDING" in self.cluster.jobs(), "the task in the queue")
        time.sleep(2)
        wait_for(begun, f"task {task} again; there are {self.cluster.jobs()}")
        self.held(seed)

    def test_tasks_that_are_killed(self) -> None:
        """Task k of four plays the shards of which k is the rest: two at a time, 0 and 1 before 2 and 3."""
        self.hold(3, 4, 5, 6)
        engine = self.write_program("held", HELD_ENGINE)
        job, said = self.submit(f"engine={engine}", QUICK, *self.GAMES, "shard=1", "tasks=4")
        self.assertEqual(said, "4 tasks for 12 shards")

        # The engine alone: its shard is lost, and the task goes on.
        os.kill(self.held(4), signal.SIGKILL)
        # The task, with what it has started.
        process = self.held(5)
        os.kill(self.task_of(process), signal.SIGKILL)
        os.kill(process, signal.SIGKILL)
        # A task is sent back, and begins again with the shard that it was at.
        self.held(3)
        self.fail_with(f"an earlier job for shards waits or runs: {job} (squeue -j shows it, scancel ends it)",
                       "slurm", "shards")
        self.cluster.call("scontrol", "requeue", f"{job}_3")
        self.held(6)
        self.cluster.call("scancel", f"{job}_2")
        self.held_again(f"{job}_3", 3)
        self.release(3, 4, 5, 6)
        self.cluster.wait_for_jobs()
        self.assertEqual(self.made(), {1, 2, 3, 7, 8, 11, 12})
        self.fail_with("missing or damaged (run plays them): shard 4, 5, 6, 9, 10", "join", "shards")

        made = self.present()
        self.assertEqual(self.submit()[1], "5 tasks for 5 shards")
        self.cluster.wait_for_jobs()
        self.assertLessEqual(made.items(), self.present().items())
        self.assertEqual(self.succeed("slurm", "shards"), "all shards are made: nothing was submitted\n")
        self.assertEqual(self.joined(), self.one_run(*self.GAMES))


    def test_a_node_that_fails(self) -> None:
        """Nothing of the job is left, and Slurm sends it to another node, or to the same one when that is back."""
        self.hold(2)
        program = self.write_program("held", HELD_ENGINE)
        job, _ = self.submit(f"engine={program}", QUICK, "games=3", "shard=1", "tasks=1")
        engine = self.held(2)
        made = self.present()
        self.assertEqual(self.made(), {1})
        script = self.task_of(engine)
        for process in (self.parent(script), script, self.parent(engine), engine):
            os.kill(process, signal.SIGKILL)
        self.cluster.call("scontrol", "update", f"NodeName={self.cluster.host}", "State=DOWN", "Reason=test")
        self.held_again(f"{job}_0", 2)
        self.release(2)
        self.cluster.wait_for_jobs()
        self.assertLessEqual(made.items(), self.present().items())
        self.assertEqual(self.joined(), self.one_run("games=3"))


class Submitted(SlurmTest):
    def test_more_shards_than_an_array_has_tasks(self) -> None:
        """In a folder whose name is hard, and with damaged shards among the missing ones."""
        name = "день  1"
        settings = (f"engine={engine_path()}", QUICK, "games=23", "shard=1", "seed=18446744073709551610")
        self.assertEqual(self.submit(*settings, "--", "--comment=one more", folder=name)[1], "5 tasks for 23 shards")
        self.cluster.wait_for_jobs()
        (self.folder / name / "shards" / "7.gz").write_bytes(b"")
        (self.folder / name / "shards" / "9.json").write_text("x")
        self.assertEqual(self.submit(folder=name)[1], "2 tasks for 2 shards")
        self.cluster.wait_for_jobs()
        self.succeed("join", name, "all.txt")
        self.assertEqual((self.folder / "all.txt").read_bytes(), self.one_run(*settings[2:3], *settings[4:]))

    def test_an_engine_that_was_changed_plays_nothing(self) -> None:
        self.cluster.call("scontrol", "update", "PartitionName=all", "State=DOWN")
        self.addCleanup(self.cluster.call, "scontrol", "update", "PartitionName=all", "State=UP")
        job, _ = self.submit(f"engine={engine_path()}", QUICK, "games=1")
        shutil.copy(self.write_program("other", "#!/bin/sh\nexec {engine} \"$@\"\n"), self.folder / "shards" / "engine")
        self.cluster.call("scontrol", "update", "PartitionName=all", "State=UP")
        self.cluster.wait_for_jobs()
        self.assertEqual(self.made(), set())
        self.assertIn("./engine is another build of the engine than that of the run",
                      (self.folder / "shards" / f"slurm-{job}_0.log").read_text())

    def test_what_slurm_refuses(self) -> None:
        self.fail_with("sbatch failed: invalid partition specified: none", "slurm", "shards",
                       f"engine={engine_path()}", "games=1", "--", "--partition=none")
        self.assertEqual(self.cluster.jobs(), [])


class Unsubmitted(ShardTest):
    """Needs no cluster."""

    def test_printed(self) -> None:
        script = self.succeed("slurm", "shards", f"engine={engine_path()}", QUICK, "games=7", "shard=2", "--print")
        for line in ("#SBATCH --array=0-3", f'#SBATCH --chdir="{self.folder}/shards"', "#SBATCH --requeue"):
            self.assertIn(f"{line}\n", script)
        subprocess.run(["sh", "-n"], input=script, text=True, check=True)
        self.assertIn("#SBATCH --array=0-1\n", self.succeed("slurm", "shards", "--print", "tasks=2"))

    def test_refused(self) -> None:
        for option in ("-a", "--array=1-2", "--job-name=x", "-Jx", "--chdir=/"):
            self.fail_with(f"the folder decides of {option}: tasks=N bounds the array", "slurm", "shards", "games=1",
                           f"engine={engine_path()}", "--", option, status=2)
        for tasks in ("0", "-1", "x", ""):
            self.fail_with(f"no number of tasks: tasks={tasks}" if tasks else "neither setting nor option: tasks=",
                           "slurm", "shards", f"tasks={tasks}", status=2)
        self.fail_with("slurm: which folder?", "slurm", "--print", status=2)
        self.assertFalse((self.folder / "shards").exists())
        for name in ('a"b', "a%b", "a\\b"):
            self.fail_with(f"Slurm does not take the name of this folder: {self.folder}/{name}", "slurm", name,
                           "games=1", f"engine={engine_path()}", "--print")


if __name__ == "__main__":
    unittest.main()
