"""Missing shards are played by Slurm, as a job array."""

from __future__ import annotations

import hashlib
import os
import re
import shutil
import subprocess
from collections.abc import Sequence

from . import folder
from .fault import Fault, WrongCall
from .folder import Run

TASKS = 1000  # that an array has at most, if neither the user nor Slurm says less
OURS = re.compile(r"-[aDJ]|--(array|chdir|job-name)\b")  # options of sbatch that the folder decides of

SCRIPT = """#!/bin/sh
#SBATCH --job-name={name}
#SBATCH --array=0-{last}
#SBATCH --chdir={folder}
#SBATCH --output={log}
#SBATCH --open-mode=append
#SBATCH --requeue
#SBATCH --ntasks=1
#SBATCH --cpus-per-task=1
#SBATCH --mem=256M
# A shard is named when it is whole: a task that begins again goes on with the one that it was at.
exec sh ./play --task "$SLURM_ARRAY_TASK_ID" {tasks}
"""


def job_name(run: Run) -> str:
    """The same in each call for a folder: by it an earlier job is found."""
    path = str(run.folder.resolve())
    plain = re.sub(r"[^A-Za-z0-9._-]", "-", os.path.basename(path))
    return f"datagen-{plain}-{hashlib.sha256(path.encode(errors='surrogateescape')).hexdigest()[:8]}"


def tasks_of(given: dict[str, str]) -> int:
    text = given.get("tasks", str(TASKS))
    if not re.fullmatch(r"[1-9][0-9]{0,6}", text):
        raise WrongCall(f"no number of tasks: tasks={text}")
    return int(text)


def check_options(options: Sequence[str]) -> None:
    for option in options:
        if OURS.match(option):
            raise WrongCall(f"the folder decides of {option}: tasks=N bounds the array")


def quoted(text: str) -> str:
    """As a line for sbatch has it."""
    if re.search(r'["%\\\n]', text):
        raise Fault(f"Slurm does not take the name of this folder: {text}")
    return f'"{text}"'


def script(run: Run, tasks: int) -> str:
    return SCRIPT.format(name=job_name(run), last=tasks - 1, tasks=tasks, folder=quoted(str(run.folder.resolve())),
                         log="slurm-%A_%a.log")


def call(*command: str, text: str = "") -> str:
    """What a program of Slurm prints."""
    if not shutil.which(command[0]):
        raise WrongCall(f"{command[0]} is missing (Debian package: slurm-client)")
    done = subprocess.run(command, input=text, capture_output=True, text=True, check=False)
    if done.returncode != 0:
        said = done.stderr.strip().splitlines()
        reason = said[0].removeprefix(f"{command[0]}: error: ") if said else f"status {done.returncode}"
        raise Fault(f"{command[0]} failed: {reason}")
    return done.stdout


def require_no_other(run: Run) -> None:
    """Two arrays for a folder would play the same shards."""
    jobs = call("squeue", "--noheader", f"--name={job_name(run)}", "--format=%F").split()
    if jobs:
        numbers = ", ".join(sorted(set(jobs)))
        raise Fault(f"an earlier job for {run.folder} waits or runs: {numbers} (squeue -j shows it, scancel ends it)")


def largest_array() -> int:
    match = re.search(r"^MaxArraySize\s*=\s*(\d+)", call("scontrol", "show", "config"), re.MULTILINE)
    return int(match[1]) if match else TASKS


def submit(run: Run, lost: Sequence[int], tasks: int, options: Sequence[str]) -> str:
    """Submits a job for the shards and tells of it."""
    tasks = min(tasks, len(lost), largest_array())
    folder.replace(run.folder / "missing", "".join(f"{number}\n" for number in lost))
    job = call("sbatch", "--parsable", *options, text=script(run, tasks)).strip().split(";")[0]
    return f"submitted: job {job}, {tasks} tasks for {len(lost)} shards"
