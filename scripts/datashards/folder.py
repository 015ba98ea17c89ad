"""The folder of a run: begun once, gone on with, and changed by nobody else."""

from __future__ import annotations

import contextlib
import filecmp
import hashlib
import os
import re
import shutil
import subprocess
from collections.abc import Callable, Iterable, Iterator, Sequence
from dataclasses import dataclass
from pathlib import Path

from . import plan
from .fault import Fault, WrongCall
from .plan import Settings, Shard

PLAY = Path(__file__).with_name("play.sh")
LEFT = r"(part|bad|json\.part)\..*"  # by a job or a program that was cut off, or put aside
OF_A_SHARD = re.compile(rf"([1-9]\d*)\.(gz|json|{LEFT})")


@dataclass(frozen=True)
class Run:
    folder: Path
    settings: Settings
    engine_sum: str  # SHA-256 of the engine that the run was begun with
    earlier: bool  # begun when shards had no records: one that is whole is the engine's

    @property
    def engine(self) -> Path:
        return self.folder / "engine"

    @property
    def shards(self) -> list[Shard]:
        return plan.shards(self.settings)

    def text(self, shard: Shard) -> Path:
        return self.folder / "shards" / f"{shard.number}.gz"

    def record(self, shard: Shard) -> Path:
        return self.folder / "shards" / f"{shard.number}.json"


@contextlib.contextmanager
def replacing(path: Path) -> Iterator[Path]:
    """A file to write, which takes the name of `path` when it is whole; otherwise that stays as it is."""
    part = path.with_name(f"{path.name}.part.{os.getpid()}")
    try:
        yield part
        os.replace(part, path)
    except OSError as error:
        part.unlink(missing_ok=True)
        raise Fault(f"cannot be written: {path}: {error.strerror}") from None


def replace(path: Path, text: str) -> None:
    with replacing(path) as part:
        part.write_text(text, encoding="utf-8")


def sum_of(path: Path) -> str:
    try:
        return hashlib.sha256(path.read_bytes()).hexdigest()
    except FileNotFoundError:
        return "none"


def revision(engine: Path) -> str:
    """As the engine tells it; "unknown" of one that does not."""
    try:
        told = subprocess.run([str(engine.absolute()), "--version"], stdin=subprocess.DEVNULL, stdout=subprocess.PIPE,
                              stderr=subprocess.STDOUT, timeout=60, check=False).stdout
    except (OSError, subprocess.TimeoutExpired):
        return "unknown"
    match = re.match(rb".*, revision ([0-9A-Za-z.+-]+)", told)
    return match[1].decode() if match else "unknown"


# --- what a folder holds ---


WRITTEN = re.compile(r"((?:[^\n]+\n)*)engine=([0-9a-f]{64})\n(begun=earlier\n)?")


def read_settings(folder: Path) -> tuple[Settings, str, bool]:
    """The settings that a run was begun with, the sum of its engine, and whether it has shards without records."""
    path = folder / "settings"
    match = WRITTEN.fullmatch(path.read_text(encoding="utf-8", errors="replace"))
    if not match:
        raise Fault(f"{path} was edited: it does not end with the sum of the engine")
    try:
        return plan.read_settings(match[1].split())[0], match[2], bool(match[3])
    except WrongCall as fault:
        raise Fault(f"{path} was edited: {fault}") from None


def write_settings(folder: Path, settings: Settings, earlier: bool = False) -> None:
    words = [f"games={settings.games}", f"seed={settings.seed}", f"shard={settings.shard}", *settings.options,
             f"engine={sum_of(folder / 'engine')}", *(["begun=earlier"] if earlier else [])]
    replace(folder / "settings", "\n".join([*words, ""]))


def open_run(folder: Path) -> Run:
    """The run that was begun in a folder. One of earlier days gets its settings from its plan."""
    written = folder / "plan"
    if not written.exists() and not (folder / "settings").exists():
        raise Fault(f"no run in {folder}")
    lines = written.read_text(encoding="utf-8", errors="replace").splitlines() if written.exists() else None
    if not (folder / "settings").exists():
        settings = plan.settings_of(lines or [], str(written))
        plan.check(lines or [], settings, str(written))
        if not (folder / "engine").exists():
            raise Fault(f"{folder / 'engine'} is missing")
        write_settings(folder, settings, earlier=True)
    settings, engine_sum, earlier = read_settings(folder)
    if lines is None:
        replace(written, "\n".join([*plan.lines(settings), ""]))
    else:
        plan.check(lines, settings, str(written))
    return Run(folder, settings, engine_sum, earlier)


def open_whole(folder: Path) -> Run:
    """The same, with the engine that it was begun with."""
    run = open_run(folder)
    if sum_of(run.engine) != run.engine_sum:
        raise Fault(f"{run.engine} is not the engine that the run was begun with (SHA-256 {run.engine_sum}):"
                    " put that back, by engine=PATH for example")
    return run


def foreign_files(run: Run) -> list[str]:
    """Names in the folder of the shards that are no part of the run."""
    count = len(run.shards)

    def is_own(name: str) -> bool:
        match = OF_A_SHARD.fullmatch(name)
        return bool(match) and int(match[1]) <= count

    folder = run.folder / "shards"
    return sorted(name for name in (os.listdir(folder) if folder.is_dir() else []) if not is_own(name))


# --- beginning and going on ---


def begin(folder: Path, settings: Settings, engine: Path) -> None:
    played = subprocess.run([str(engine), "datagen", "games=0", f"out={os.devnull}", *settings.options],
                            stdin=subprocess.DEVNULL, stdout=subprocess.DEVNULL, stderr=subprocess.DEVNULL, check=False)
    if played.returncode != 0:
        raise WrongCall(f"the engine does not take: {' '.join(settings.options)}")
    if folder.exists():
        require_empty(folder, engine)
    (folder / "shards").mkdir(parents=True, exist_ok=True)
    with replacing(folder / "engine") as part:
        shutil.copy(engine, part)
    write_settings(folder, settings)


def require_empty(folder: Path, engine: Path) -> None:
    """What a beginning that was cut short leaves is no other thing."""
    if not folder.is_dir():
        raise Fault(f"{folder} is no folder")
    left = re.compile(r"shards|engine|(engine|settings)\.part\.\d+|plan\.part")
    strange = {path.name for path in folder.iterdir() if not left.fullmatch(path.name)}
    shards = folder / "shards"
    if shards.exists() and (not shards.is_dir() or any(shards.iterdir())):
        strange.add("shards")
    own = folder / "engine"
    if own.exists() and not filecmp.cmp(engine, own, shallow=False):
        strange.add("engine")
    if strange:
        raise Fault(f"{folder} holds other things: no run was begun there")


def require_same(folder: Path, words: Sequence[str], settings: Settings) -> None:
    """Settings, where some are given, are those that the run was begun with."""
    there, here = read_settings(folder)[0].words(), settings.words()
    if words and set(there) != set(here):
        lost = " ".join(sorted(set(there) - set(here))) or "nothing"
        new = " ".join(sorted(set(here) - set(there))) or "nothing"
        raise Fault(f"{folder} holds a run with other settings: {lost} there, {new} here; take another folder,"
                    " or give the same settings, or none")


def require_engine(folder: Path, engine: str) -> None:
    """An engine, where one is given, is that of the run; if the run has lost its own, it gets this one."""
    run = open_run(folder)
    if engine:
        if sum_of(Path(engine)) != run.engine_sum:
            raise Fault(f"{folder} holds a run of another engine")
        if sum_of(run.engine) != run.engine_sum:
            with replacing(run.engine) as part:
                shutil.copy(engine, part)


def prepare(folder: Path, words: Sequence[str], settings: Settings, engine: str,
            find_engine: Callable[[], str]) -> Run:
    """Begins a run in the folder, or goes on with the one that it holds."""
    if engine and not os.access(engine, os.X_OK):
        raise WrongCall(f"no engine: {engine}")
    if not (folder / "plan").exists() and not (folder / "settings").exists():
        begin(folder, settings, Path(engine or find_engine()).resolve())
    open_run(folder)
    require_same(folder, words, settings)
    require_engine(folder, engine)
    run = open_whole(folder)
    (folder / "shards").mkdir(exist_ok=True)
    if not (folder / "play").exists() or not filecmp.cmp(PLAY, folder / "play", shallow=False):
        replace(folder / "play", PLAY.read_text(encoding="utf-8"))
    return run


def put_aside(run: Run, shards: Iterable[Shard]) -> None:
    """What is faulty goes out of the way: from here on a shard with a record is made."""
    for shard in shards:
        for path in (run.text(shard), run.record(shard)):  # a shard that has lost its record might be adopted
            bad = path.with_name(f"{shard.number}.bad{path.suffix}")
            if path.exists():
                if bad.is_dir():
                    shutil.rmtree(bad)
                os.replace(path, bad)
