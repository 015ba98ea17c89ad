"""The manual page docs/morvane.6: well-formed, the same in both formatters, and complete."""

from __future__ import annotations

import re
import shutil
import subprocess
import unittest

from client import run_mode
from grammar import IDENTIFICATION
from pages import ROOT
from test_commands import modes
from test_messages import CYRILLIC, literals

MANUAL = ROOT / "docs" / "morvane.6"
FORMATTERS = {
    "mandoc": ["mandoc", "-T", "utf8"],
    "groff": ["groff", "-mandoc", "-ww", "-T", "utf8", "-P-c"],
}

# What mandoc says of the machine, not of the page.
OF_THE_MACHINE = re.compile(r"outdated mandoc\.db|referenced manual not found")


def formatted(name: str) -> tuple[str, str]:
    """The page as plain text with single blanks, and what the formatter said."""
    result = subprocess.run([*FORMATTERS[name], str(MANUAL)], capture_output=True, timeout=60,
                            encoding="utf-8", check=True)
    text = re.sub(r".\x08|\x1b\[\d*m", "", result.stdout)
    text = re.sub(r"[\u2010\u2011]\n\s*", "", text)  # a word broken at the end of a line
    return re.sub(r"\s+", " ", text), result.stderr


def installed() -> list[str]:
    return [name for name in FORMATTERS if shutil.which(name)]


@unittest.skipUnless(installed(), "neither mandoc nor groff is installed")
class Manual(unittest.TestCase):
    maxDiff = None

    @unittest.skipUnless("mandoc" in installed(), "mandoc is not installed")
    def test_lint(self) -> None:
        result = subprocess.run(["mandoc", "-T", "lint", "-W", "style", str(MANUAL)],
                                stdout=subprocess.PIPE, stderr=subprocess.STDOUT, timeout=60,
                                encoding="utf-8", check=False)
        lines = [x for x in result.stdout.splitlines() if not OF_THE_MACHINE.search(x)]
        self.assertEqual(lines, [])

    def assert_in_all(self, *texts: str) -> None:
        for name in installed():
            page, _ = formatted(name)
            for text in texts:
                with self.subTest(text, formatter=name):
                    self.assertIn(re.sub(r"\s+", " ", text).strip(), page)

    def test_formatters_are_silent(self) -> None:
        for name in installed():
            with self.subTest(name):
                self.assertEqual(formatted(name)[1], "")

    def test_source_is_readable_everywhere(self) -> None:
        self.assertTrue(MANUAL.read_bytes().isascii())

    def test_modes(self) -> None:
        self.assertEqual(len(modes()), 8)
        source = MANUAL.read_text(encoding="ascii")
        synopsis = source.partition(".Sh SYNOPSIS\n")[2].partition(".Sh ")[0]
        self.assertEqual(set(re.findall(r"^\.Cm (\w+)", synopsis, re.MULTILINE)), modes())
        described = source.partition(".Ss Developer modes\n")[2].partition(".Sh ")[0]
        self.assertLessEqual(modes(), set(re.findall(r"^\.It Cm (\w+)", described, re.MULTILINE)))

    def test_commands(self) -> None:
        source = (ROOT / "src" / "uci" / "uci.cpp").read_text(encoding="utf-8")
        commands = re.findall(r'^    \{"(\w+)", (?:true|false)', source, re.MULTILINE) + ["quit"]
        self.assertGreater(len(commands), 9)
        described = MANUAL.read_text(encoding="ascii").partition(".Ss UCI commands\n")[2]
        for command in commands:
            with self.subTest(command):
                self.assertRegex(described, rf"(?m)^\.It Cm {command}\b")

    def test_options(self) -> None:
        page = MANUAL.read_text(encoding="ascii").partition(".Ss UCI options\n")[2]
        options = [x.split() for x in IDENTIFICATION if x.startswith("option")]
        for option in options:
            name = " ".join(option[2 : option.index("type")])
            default, least, greatest = option[-5], option[-3], option[-1]
            with self.subTest(name):
                text = page.partition(f".It Cm {name}\n")[2].partition("\n.")[0]
                wanted = f", {least} to {greatest}; the default is {default}."
                self.assertEqual(text[-len(wanted) :], wanted)

    def test_defaults_of_datagen(self) -> None:
        """The names and defaults are those of the engine's help, in their order."""
        source = MANUAL.read_text(encoding="ascii")
        defaults = re.findall(r"^\.It Cm (\w+) Ns = Ns (\S+)$", source, re.MULTILINE)
        told = run_mode("datagen", "--help").stderr.decode()
        self.assertGreater(len(defaults), 9)
        self.assertEqual(defaults, re.findall(r"^  (\w+)=(\S+) ", told, re.MULTILINE))

    def test_header_and_footer(self) -> None:
        """Name, section and volume above; source and date below, and no name of another system."""
        version = IDENTIFICATION[0].removeprefix("id name ")
        date = re.search(r"^\.Dd (.+)$", MANUAL.read_text(encoding="ascii"), re.MULTILINE)[1]
        for name in installed():
            with self.subTest(formatter=name):
                page, _ = formatted(name)
                self.assertTrue(page.strip().startswith("MORVANE(6) Games Manual MORVANE(6) NAME"),
                                page[:80])
                self.assertTrue(page.strip().endswith(f"{version} {date} {version}"), page[-80:])

    def test_version(self) -> None:
        version = IDENTIFICATION[0].removeprefix("id name Morvane ")
        self.assert_in_all(f"about version {version}.")

    def test_messages_of_the_command_line(self) -> None:
        """All that the tools say, and what the modes say, in letters that both formatters show."""
        tools = (ROOT / "src" / "tools" / "messages.h").read_text(encoding="utf-8")
        texts = [text for text in literals(tools) if CYRILLIC.search(text)]
        self.assertGreater(len(texts), 9)
        front = (ROOT / "src" / "uci" / "messages.h").read_text(encoding="utf-8")
        texts += [text for text in literals(front) if text.startswith("morvane: ")]
        for arguments in (("perft", "x", "x"), ("benchsearch", "x"), ("evaltrace", "x")):
            result = run_mode(*arguments)
            self.assertEqual(result.returncode, 1)
            texts.append(result.stderr.decode())
        self.assert_in_all(*texts)

    def test_licence_and_neighbours(self) -> None:
        self.assert_in_all("MIT licence", "the Morvane developers", "docs/uci.md")
        source = MANUAL.read_text(encoding="ascii")
        for name in re.findall(r"^\.Pa (\S+\.md)\b", source, re.MULTILINE):
            with self.subTest(name):
                self.assertTrue((ROOT / name).exists())


if __name__ == "__main__":
    unittest.main()
