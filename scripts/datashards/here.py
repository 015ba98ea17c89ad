"""Missing shards are played by GNU parallel, on this machine and on others that SSH reaches."""

from __future__ import annotations

import ctypes
import os
import re
import signal
import subprocess
from collections.abc import Iterable, Sequence

from .folder import Run, replace

HEADING = "Seq\tHost\tStarttime\tJobRuntime\tSend\tReceive\tExitval\tSignal\tCommand"

# A job runs in the folder of the run, or on another machine in one that GNU parallel fills before and removes
# afterwards. What it brings home comes in this order: the record last.
JOB = '[ "$PARALLEL_SSHLOGIN" != : ] || cd "$datagen_dir"; sh ./play {#} {= uq() =}'
SENT = ("engine", "play")
BROUGHT = ("shards/{#}.gz", "shards/{#}.json")


def write_log(run: Run, missing: set[int]) -> None:
    """The job log tells what ran, and GNU parallel leaves out what it tells: so it shall be what is made."""
    path = run.folder / "joblog"
    rows = {}
    for row in path.read_text(encoding="utf-8", errors="replace").splitlines()[1:] if path.exists() else []:
        number = row.split("\t")[0]
        if row.count("\t") >= HEADING.count("\t") and number.isdigit() and int(number) not in missing:
            rows[int(number)] = row
    for shard in run.shards:
        if shard.number not in missing:
            rows.setdefault(shard.number, f"{shard.number}\telsewhere\t0\t0\t0\t0\t0\t0\t")
    replace(path, "\n".join([HEADING, *rows.values(), ""]))


def end_with_parent() -> None:
    """GNU parallel shall not play on alone. Where the system knows no such thing, it does."""
    prctl = getattr(ctypes.CDLL(None), "prctl", None)
    if prctl:
        prctl(1, int(signal.SIGTERM))  # PR_SET_PDEATHSIG


def play(run: Run, missing: Iterable[int], options: Sequence[str]) -> int:
    """Returns the exit status of GNU parallel."""
    write_log(run, set(missing))
    folder = run.folder.resolve()
    transfer = []
    if any(re.match(r"-S|--sshlogin|--slf", option) for option in options):
        transfer = ["--workdir", "...", "--cleanup"]
        for name in SENT:
            transfer += ["--transferfile", f"{folder}/./{name}"]
        for name in BROUGHT:
            transfer += ["--return", f"{folder}/./{name}"]
    command = ["parallel", "--will-cite", "--joblog", str(run.folder / "joblog"), "--resume", *transfer, *options, JOB,
               "::::", str(run.folder / "plan")]
    process = subprocess.Popen(command, env=os.environ | {"datagen_dir": str(folder)}, preexec_fn=end_with_parent)
    for number in (signal.SIGTERM, signal.SIGHUP):
        signal.signal(number, lambda number, _: process.send_signal(number))
    signal.signal(signal.SIGINT, signal.SIG_IGN)  # the terminal tells GNU parallel, too
    return process.wait()
