"""What a run has made, held against the records of its shards and its plan."""

from __future__ import annotations

import hashlib
import json
import os
import re
import zlib
from collections import deque
from collections.abc import Callable, Iterable, Iterator
from concurrent.futures import ThreadPoolExecutor
from dataclasses import dataclass, field
from pathlib import Path

from . import folder
from .fault import Fault, remark
from .folder import Run
from .plan import Shard

PIECE = 1 << 18  # bytes of a compressed file that are read at once
HELD = 1 << 24  # a text of more bytes is not kept, but read again
WORKERS = os.cpu_count() or 1

LOST = "missing or damaged"
SHORT = "shorter than they were made"
SEEDS = "of other seeds than the plan's"
OPTIONS = "of other options than the plan's"
RECORD = "with a record that cannot be read"
BUILD = "played by another build of the engine, revision {}"


class Damaged(Fault):
    """A file is no whole gzip file."""

    def __init__(self, path: Path) -> None:
        super().__init__(f"{path} is damaged")


def texts(path: Path) -> Iterator[bytes]:
    """The text of a shard, in pieces."""
    inflater = zlib.decompressobj(wbits=31)
    try:
        with open(path, "rb") as file:
            while piece := file.read(PIECE):
                if inflater.eof:
                    raise Damaged(path)
                yield inflater.decompress(piece)
    except (OSError, zlib.error):
        raise Damaged(path) from None
    if not inflater.eof or inflater.unused_data:
        raise Damaged(path)


# --- records ---

SHAPE = {"first_seed": int, "games": int, "options": list, "engine": dict, "positions": int, "bytes": int,
         "sha256": str}


def read_record(path: Path) -> dict | None:
    """The record of a shard; None if it is none."""
    try:
        record = json.loads(path.read_bytes())
        sound = all(isinstance(record[key], kind) for key, kind in SHAPE.items()) and all(
            isinstance(record["engine"][key], str) for key in ("revision", "sha256"))
    except (OSError, ValueError, KeyError, TypeError, RecursionError):
        return None
    return record if sound else None


def fault_of(run: Run, shard: Shard, record: dict) -> str:
    """What the record says against the shard."""
    if record["first_seed"] != shard.first_seed or record["games"] > shard.games:
        return SEEDS
    if record["games"] < shard.games:
        return SHORT
    if record["options"] != list(run.settings.options):
        return OPTIONS
    if record["engine"]["sha256"] != run.engine_sum:
        return BUILD.format(record["engine"]["revision"])
    return ""


# --- looking at a shard ---


@dataclass
class Text:
    """What is known of the text of a shard. A long one is not held."""

    sha256: str
    bytes: int
    positions: int
    pieces: list[bytes] | None
    ends_well: bool


@dataclass
class Finding:
    shard: Shard
    fault: str = ""
    record: dict = field(default_factory=dict)
    text: Text | None = None
    adopted: bool = False


def read_text(path: Path) -> Text:
    found, size, positions, last = hashlib.sha256(), 0, 0, b"\n"
    pieces: list[bytes] | None = []
    for piece in texts(path):
        found.update(piece)
        size += len(piece)
        positions += piece.count(b"\n")
        last = piece[-1:] or last
        if size > HELD:
            pieces = None
        if pieces is not None:
            pieces.append(piece)
    return Text(found.hexdigest(), size, positions, pieces, last == b"\n")


def examine(run: Run, shard: Shard) -> Finding:
    path = run.record(shard)
    recorded = path.exists()
    record = read_record(path) if recorded else None
    if not run.text(shard).exists() or not (recorded or run.earlier):
        return Finding(shard, LOST)
    if recorded and record is None:
        return Finding(shard, RECORD)
    if record and (fault := fault_of(run, shard, record)):
        return Finding(shard, fault)
    try:
        text = read_text(run.text(shard))
    except Damaged:
        return Finding(shard, LOST)
    if record is None:
        return Finding(shard, "" if text.ends_well else LOST, {}, text, adopted=text.ends_well)
    if (text.sha256, text.bytes, text.positions) != tuple(record[key] for key in ("sha256", "bytes", "positions")):
        return Finding(shard, SHORT if text.bytes < record["bytes"] else LOST)
    return Finding(shard, "", record, text)


def adopt(run: Run, finding: Finding, revision: str) -> None:
    """Gives a whole shard of earlier days the record that it has not."""
    text, shard = finding.text, finding.shard
    finding.record = {
        "format": 1, "first_seed": shard.first_seed, "games": shard.games, "options": list(run.settings.options),
        "engine": {"revision": revision, "sha256": run.engine_sum}, "positions": text.positions, "bytes": text.bytes,
        "sha256": text.sha256, "adopted": True}
    folder.replace(run.record(shard), json.dumps(finding.record) + "\n")


def findings(run: Run) -> Iterator[Finding]:
    """Of all shards in order, several looked at at a time."""
    waiting: deque = deque()
    with ThreadPoolExecutor(WORKERS) as pool:
        try:
            for shard in run.shards:
                waiting.append(pool.submit(examine, run, shard))
                if len(waiting) > 2 * WORKERS:
                    yield waiting.popleft().result()
            while waiting:
                yield waiting.popleft().result()
        finally:
            for left in waiting:
                left.cancel()


# --- looking at a run ---


@dataclass
class Survey:
    """All that was found in a folder."""

    run: Run
    faulty: list[Finding] = field(default_factory=list)
    manifest: dict = field(default_factory=dict)  # of a whole run

    def complaints(self) -> list[str]:
        """A line for each kind of fault."""
        kinds: dict[str, list[int]] = {}
        for finding in self.faulty:
            kinds.setdefault(finding.fault, []).append(finding.shard.number)
        return [f"{kind} (run plays them): shard {listed(numbers)}" for kind, numbers in kinds.items()]


def listed(numbers: Iterable[int]) -> str:
    """Numbers in words, with runs of many in short."""
    spans: list[list[int]] = []
    for number in numbers:
        if spans and spans[-1][1] + 1 == number:
            spans[-1][1] = number
        else:
            spans.append([number, number])
    words = []
    for first, last in spans:
        words += [f"{first} to {last}"] if last - first > 3 else map(str, range(first, last + 1))
    return ", ".join(words)


def survey(run: Run, take: Callable[[bytes], None] = lambda piece: None) -> Survey:
    """Looks at every shard, hands the text of a run that is whole so far to `take`, and adopts shards."""
    found, whole, entries, adopted = Survey(run), hashlib.sha256(), [], []
    revision = ""
    for finding in findings(run):
        if finding.fault:
            found.faulty.append(finding)
            continue
        if finding.adopted:
            revision = revision or folder.revision(run.engine)
            adopt(run, finding, revision)
            adopted.append(finding.shard.number)
        entries.append(finding)
        if not found.faulty:
            for piece in texts(run.text(finding.shard)) if finding.text.pieces is None else finding.text.pieces:
                whole.update(piece)
                take(piece)
        finding.text.pieces = None
    if adopted:
        remark(f"adopted without a record, as played by {run.engine}: shard {listed(adopted)}")
    if foreign := folder.foreign_files(run):
        names = ", ".join(foreign[:3]) + (f" and {len(foreign) - 3} more" if len(foreign) > 3 else "")
        remark(f"no part of the run, and left alone: {names} in {run.folder / 'shards'}")
    if not found.faulty:
        found.manifest = manifest(run, entries, whole.hexdigest())
    return found


def manifest(run: Run, entries: list[Finding], sha256: str) -> dict:
    return {
        "format": 1,
        "engine": entries[0].record["engine"],
        "options": list(run.settings.options),
        "first_seed": run.settings.seed,
        "games": run.settings.games,
        "shards": [{"file": f"shards/{e.shard.number}.gz", "first_seed": e.shard.first_seed, "games": e.shard.games,
                    "positions": e.record["positions"], "bytes": e.record["bytes"], "sha256": e.record["sha256"]}
                   for e in entries],
        "sha256": sha256,
        "bytes": sum(e.record["bytes"] for e in entries),
        "positions": sum(e.record["positions"] for e in entries),
    }


def finish(found: Survey) -> None:
    """Leaves the manifest of a whole run, or none."""
    path = found.run.folder / "manifest.json"
    if not found.manifest:
        path.unlink(missing_ok=True)
        return
    text = json.dumps(found.manifest, indent=1) + "\n"
    if not path.exists() or path.read_text(encoding="utf-8", errors="replace") != text:
        folder.replace(path, text)


def sweep(run: Run) -> None:
    """Removes what jobs that were cut off, and shards that were put aside, have left in a whole run."""
    for path in (run.folder / "shards").iterdir():
        if re.fullmatch(rf"\d+\.{folder.LEFT}", path.name) and path.is_file():
            path.unlink()
