"""The command line of this project's Python programs: help on request, and one line for what is wrong."""

from __future__ import annotations

import argparse
import os
import re
import shutil
import subprocess
import sys
from typing import NoReturn


def refuse(message: str) -> NoReturn:
    """Ends the program as one that cannot begin, with a line that says why."""
    print(f"{os.path.basename(sys.argv[0])}: {message}", file=sys.stderr)
    sys.exit(2)


def refuse_missing(error: ImportError, *packages: str) -> NoReturn:
    """The same where a library is not installed."""
    refuse(f"{error} (Debian packages: {' '.join(packages)})")


def refuse_to_replace(path: str, mark: bytes) -> None:
    """Refuses a file that exists, unless the mark in it says that this program has written it."""
    try:
        with open(path, "rb") as file:
            own = mark in file.read()
    except FileNotFoundError:
        return
    except OSError as error:
        refuse(f"{path}: {error.strerror}")
    if not own:
        refuse(f"{path} exists and is not of this program: move it away, or name another file")


def find_engine() -> str:
    """As the scripts find it, or the end of the program."""
    found = subprocess.run([os.path.join(os.path.dirname(os.path.abspath(__file__)), "find-engine")],
                           stdout=subprocess.PIPE, text=True, check=False)
    if found.returncode != 0:
        sys.exit(found.returncode)
    return found.stdout.removesuffix("\n")


class Help(argparse.RawDescriptionHelpFormatter):
    """Tells the defaults of options that have one."""

    def _get_help_string(self, action: argparse.Action) -> str | None:
        if action.option_strings and action.default not in (None, argparse.SUPPRESS):
            return f"{action.help} (default: %(default)s)"
        return action.help


class Parser(argparse.ArgumentParser):
    """Refuses in one line, and takes no option but by its whole name."""

    def __init__(self, description: str | None) -> None:
        super().__init__(description=description, allow_abbrev=False, formatter_class=Help)

    def parse_args(self) -> argparse.Namespace:
        """As usual, but help comes first, and what is unknown is told before what is missing."""
        if {"-h", "--help"} & {*sys.argv[1:]}:
            self.print_help()
            self.exit()
        for word in sys.argv[1:]:
            name = word.partition("=")[0]
            if re.match(r"-[^\d]", name) and name not in self._option_string_actions:
                self.error(f"no such option: {name}")
        return super().parse_args()

    def error(self, message: str) -> NoReturn:
        refuse(f"{message} (see --help)")


# --- types of arguments: each raises what argparse turns into a line ---


def program(text: str) -> str:
    """A program by its path, or by its name: on the PATH, or else in this folder.  Returns the path."""
    path = shutil.which(text) or shutil.which(os.path.join(os.curdir, text))
    if not path:
        raise argparse.ArgumentTypeError(f"{text} is no program")
    return path


def file_to_read(text: str) -> str:
    try:
        with open(text, "rb"):
            return text
    except OSError as error:
        raise argparse.ArgumentTypeError(f"{text}: {error.strerror}") from None


def file_to_write(text: str) -> str:
    """A file that may exist, in a folder that does."""
    folder = os.path.dirname(os.path.abspath(text))
    if os.path.isdir(text) or not os.access(folder, os.W_OK):
        raise argparse.ArgumentTypeError(f"{text} cannot be written")
    return text


def positive(text: str) -> int:
    number = int(text)
    if number <= 0:
        raise argparse.ArgumentTypeError(f"not above 0: {text}")
    return number
