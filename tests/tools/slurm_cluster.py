"""A cluster of Slurm on this machine alone: one node with two processors, in a folder of its own and without rights."""

from __future__ import annotations

import getpass
import os
import pathlib
import shutil
import signal
import socket
import subprocess
import time

from client import DEADLINE

PROGRAMS = {"munged": "munge", "slurmctld": "slurmctld", "slurmd": "slurmd", "sbatch": "slurm-client"}
SBIN = "/usr/sbin"  # not on everybody's path

SETTINGS = """ClusterName=test
SlurmctldHost={host}(127.0.0.1)
SlurmctldPort={ports[0]}
SlurmdPort={ports[1]}
AuthType=auth/munge
AuthInfo=socket={folder}/munge/socket
CredType=cred/munge
SlurmUser={user}
SlurmdUser={user}
StateSaveLocation={folder}/state
SlurmdSpoolDir={folder}/spool
SlurmctldPidFile={folder}/slurmctld.pid
SlurmdPidFile={folder}/slurmd.pid
SlurmctldLogFile={folder}/slurmctld.log
SlurmdLogFile={folder}/slurmd.log
ProctrackType=proctrack/linuxproc
TaskPlugin=task/none
SelectType=select/cons_tres
SelectTypeParameters=CR_Core
JobAcctGatherType=jobacct_gather/none
AccountingStorageType=accounting_storage/none
MpiDefault=none
SwitchType=switch/none
ReturnToService=2
SchedulerType=sched/builtin
SchedulerParameters=sched_interval=1,sched_min_interval=0
MaxArraySize=5
KillWait=1
NodeName={host} NodeAddr=127.0.0.1 CPUs=2 RealMemory=1024 State=UNKNOWN
PartitionName=all Nodes={host} Default=YES MaxTime=INFINITE State=UP
"""


def missing_packages() -> str:
    """Debian packages that the cluster needs and this machine lacks."""
    path = f"{os.environ['PATH']}:{SBIN}"
    return " ".join(package for program, package in PROGRAMS.items() if not shutil.which(program, path=path))


def free_ports(count: int) -> list[int]:
    sockets = [socket.socket() for _ in range(count)]
    try:
        for each in sockets:
            each.bind(("127.0.0.1", 0))
        return [each.getsockname()[1] for each in sockets]
    finally:
        for each in sockets:
            each.close()


def wait_for(condition, what: str, deadline: float = DEADLINE) -> None:
    end = time.monotonic() + deadline
    while not condition():
        if time.monotonic() > end:
            raise AssertionError(f"not within {deadline} s: {what}")
        time.sleep(0.05)


class Cluster:
    def __init__(self, folder: pathlib.Path) -> None:
        self.folder = folder
        self._daemons: list[subprocess.Popen] = []
        for name in ("munge", "state", "spool"):
            (folder / name).mkdir()
        (folder / "munge" / "key").write_bytes(os.urandom(1024))
        (folder / "munge" / "key").chmod(0o400)
        self.host = socket.gethostname().split(".")[0]
        self._settings = folder / "slurm.conf"
        self._settings.write_text(
            SETTINGS.format(folder=folder, host=self.host, user=getpass.getuser(), ports=free_ports(2)))
        self.environment = {"SLURM_CONF": str(self._settings), "PATH": f"{os.environ['PATH']}:{SBIN}"}

    def start(self) -> None:
        """Ends with the node ready for jobs."""
        place = self.folder / "munge"
        files = [f"--{name}-file={place / name}" for name in ("key", "pid", "log", "seed")]
        self._launch("munged", "--foreground", "--force", f"--socket={place / 'socket'}", *files)
        wait_for((place / "socket").exists, "munged")
        self._launch("slurmctld", "-D")
        self._launch("slurmd", "-D")
        wait_for(lambda: self.call("sinfo", "-h", "-o", "%T", check=False) == "idle\n", "a node that is ready")

    def _launch(self, *command: str) -> None:
        with open(self.folder / f"{command[0]}.out", "wb") as out:
            self._daemons.append(subprocess.Popen(
                command, env=os.environ | self.environment, stdin=subprocess.DEVNULL, stdout=out, stderr=out))

    def call(self, *command: str, check: bool = True) -> str:
        done = subprocess.run(command, env=os.environ | self.environment, stdout=subprocess.PIPE,
                              stderr=subprocess.STDOUT, text=True, timeout=DEADLINE, check=False)
        if check and done.returncode != 0:
            raise AssertionError(f"{command}: {done.stdout}")
        return done.stdout

    def jobs(self) -> list[str]:
        return self.call("squeue", "-h", "-r", "-o", "%i %T").splitlines()

    def wait_for_jobs(self) -> None:
        wait_for(lambda: not self.jobs(), "the end of all jobs")

    def stop(self) -> None:
        """Leaves no process behind, whatever state it was in."""
        self.call("scancel", "--full", "--signal=KILL", f"--user={getpass.getuser()}", check=False)
        for daemon in reversed(self._daemons):
            daemon.terminate()
        for daemon in self._daemons:
            try:
                daemon.wait(10)
            except subprocess.TimeoutExpired:
                daemon.kill()
                daemon.wait()
        for process in self.processes():
            os.kill(process, signal.SIGKILL)

    def processes(self) -> list[int]:
        """All that know the settings of this cluster: daemons, steps and jobs."""
        mark = f"SLURM_CONF={self._settings}".encode()
        found = []
        for entry in pathlib.Path("/proc").glob("[0-9]*/environ"):
            try:
                if mark in entry.read_bytes().split(b"\0") and int(entry.parent.name) != os.getpid():
                    found.append(int(entry.parent.name))
            except OSError:
                pass  # it has ended, or is another user's
        return found
