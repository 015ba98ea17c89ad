"""Libraries for Node.js: the rules of chess for matches and tests, sharing nothing with the engine.

npm installs one once, into the folder that the environment variable MORVANE_CACHE names, or else into this
checkout's build folder."""

from __future__ import annotations

import hashlib
import os
import shutil
import subprocess
import tempfile
from collections.abc import Sequence

RULES = ("chess.js", "1.4.0")
BUILD = os.path.join(os.path.dirname(os.path.dirname(os.path.abspath(__file__))), "build")


class Unavailable(Exception):
    """There is no such library here, and why."""


def install(name: str, version: str) -> str:
    """The folder with the library in its node_modules."""
    return installed(f"{name}-{version}", "install", "--no-save", "--no-package-lock", f"{name}@{version}")


def install_locked(place: str) -> str:
    """The same of all that the package-lock.json of a folder names."""
    with open(os.path.join(place, "package-lock.json"), "rb") as file:
        lock = hashlib.sha256(file.read()).hexdigest()
    return installed(f"{os.path.basename(place)}-{lock[:12]}", "ci",
                     files=[os.path.join(place, name) for name in ("package.json", "package-lock.json")])


def installed(name: str, *arguments: str, files: Sequence[str] = ()) -> str:
    """A folder of this name in the cache, made by npm unless it is there."""
    for program in ("node", "npm"):
        if not shutil.which(program):
            raise Unavailable(f"{program} is not installed (Debian packages: nodejs npm)")
    cache = os.path.abspath(os.environ.get("MORVANE_CACHE", BUILD))
    folder = os.path.join(cache, name)
    if os.path.isdir(folder):
        return folder
    os.makedirs(cache, exist_ok=True)
    with tempfile.TemporaryDirectory(dir=cache) as place:
        fresh = os.path.join(place, "fresh")
        os.mkdir(fresh)
        for file in files:
            shutil.copy(file, fresh)
        npm = subprocess.run(["npm", *arguments, "--ignore-scripts", "--no-audit", "--no-fund", "--prefix", fresh],
                             capture_output=True, text=True, timeout=300, check=False)
        if npm.returncode != 0:
            reason = next(iter(npm.stderr.strip().splitlines()), "no reason told")
            raise Unavailable(f"npm cannot install {name}: {reason}")
        try:
            os.rename(fresh, folder)
        except OSError:
            if not os.path.isdir(folder):  # otherwise another program was faster
                raise
    return folder
