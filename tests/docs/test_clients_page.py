"""docs/clients.md and docs/lichess-bot.yml name options that the engine has, with values that it takes,
every program of the README has its section, and tournament managers are given options that they have."""

from __future__ import annotations

import configparser
import json
import re
import unittest

import links
import managers
import pages
from client import Engine

try:
    import yaml
except ImportError:
    yaml = None

PAGE = "docs/clients.md"
CONFIGURATION = "docs/lichess-bot.yml"


def announced_options() -> dict[str, range]:
    """The engine's options, each with the values that it takes."""
    engine = Engine()
    try:
        engine.send("uci")
        lines = engine.read_until("uciok")
    finally:
        engine.kill()
    pattern = r"option name (.+) type spin default \d+ min (\d+) max (\d+)"
    found = [match for line in lines if (match := re.fullmatch(pattern, line))]
    assert len(found) == sum(line.startswith("option ") for line in lines), lines
    return {match[1]: range(int(match[2]), int(match[3]) + 1) for match in found}


def blocks(*kinds: str) -> list[str]:
    found = pages.markdown_blocks(PAGE, links.read(PAGE))
    return [block.text for block in found if block.kind in kinds]


class ClientsPage(unittest.TestCase):
    @classmethod
    def setUpClass(cls) -> None:
        cls.options = announced_options()
        cls.page = links.read(PAGE)

    def check_option(self, name: str, value: object) -> None:
        self.assertIn(name, self.options)
        self.assertIn(int(str(value)), self.options[name], f"{name} {value}")

    def test_programs_of_the_readme(self) -> None:
        """Every program that has a section, and no other."""
        headings = re.findall(r"^## (.+)$", self.page, re.MULTILINE)
        programs = set(headings) - {"Download", "In short", "In every program", "Clocks and limits",
                                    "If it does not work"}
        for name in ("README.md", "README.uk.md"):
            rows = re.findall(r"^\| \[([^\]]+)\]\((docs/clients\.md)#([^)]+)\) \| (.+) \|$",
                              links.read(name), re.MULTILINE)
            self.assertEqual({row[0] for row in rows}, programs, f"programs in {name}")
            for program, page, anchor, how in rows:
                with self.subTest(page=name, program=program):
                    self.assertIn(anchor, links.anchors(links.read(page)))
                    self.assertRegex(how, "morvane|lichess-bot.yml")

    def test_options_of_the_page(self) -> None:
        """Every option of a command line, of an INI file and of the prose."""
        commands = "\n".join(blocks("sh", "sh not run"))
        found = re.findall(r'"option\.([^"=]+)=(\w+)"|\boption\.(\w+)=(\w+)',
                           commands + self.page)
        self.assertGreater(len(found), 4)
        for quoted, value, plain, number in found:
            self.check_option(quoted or plain, value or number)
        files = re.findall(r"<<'END'\n(.*?)^END$", commands, re.MULTILINE | re.DOTALL)
        self.assertEqual(len(files), 1)
        for text in files:
            ini = configparser.ConfigParser()
            ini.optionxform = str
            ini.read_string(text)
            self.assertEqual(ini.sections(), ["PolyGlot", "Engine"])
            for name, value in ini.items("Engine"):
                self.check_option(name, value)
        for name in self.options:
            self.assertIn(f"*{name}*", self.page)

    def test_json(self) -> None:
        texts = blocks("json")
        self.assertEqual(len(texts), 1)
        for engine in json.loads(texts[0]):
            self.assertEqual(engine["protocol"], "uci")


class Managers(unittest.TestCase):
    """Commands of fastchess and cutechess-cli, on all pages."""

    def test_commands_of_the_pages(self) -> None:
        seen = set()
        for path in pages.pages():
            for block in pages.blocks_of(path):
                for command in managers.commands(block.text):
                    seen.add((command.program, path.name))
                    with self.subTest(block.place):
                        self.assertEqual(command.faults(), [])
                        self.check_openings(command)
        self.assertLessEqual({("fastchess", "clients.md"), ("cutechess-cli", "clients.md"),
                              ("fastchess", "CONTRIBUTING.md")}, seen)

    def check_openings(self, command: managers.Command) -> None:
        """All name the one file of a clone, which holds nothing but records: a comment is refused."""
        files = [word.removeprefix("file=") for name, words in command.groups if name == "-openings"
                 for word in words if word.startswith("file=")]
        self.assertEqual(files, ["scripts/openings.epd"])
        for line in (pages.ROOT / files[0]).read_text("ascii").splitlines():
            self.assertRegex(line, r"^(?:[1-8pnbrqkPNBRQK]+/){7}\S+ [wb] \S+ \S+ \d+ \d+$")

    def test_what_is_wrong_is_seen(self) -> None:
        engines = "-engine cmd=a -engine cmd=b"
        for text, fault in (
            (f"fastchess {engines} -round 3", "fastchess has no option -round"),
            (f"fastchess {engines} -pgnout games.pgn", "fastchess -pgnout takes no games.pgn"),
            (f"fastchess \\\n {engines} \\\n -sprt elo2=3", "fastchess -sprt takes no elo2=3"),
            ("cutechess-cli -engine cmd=a", "cutechess-cli needs two engines"),
            (f"x/cutechess-cli {engines} -each protocol=uci", "cutechess-cli -each takes no protocol=uci"),
            (f"fastchess {engines} -engine cmd=/usr/games/glaurung", "glaurung is left to take all cores"),
        ):
            with self.subTest(text):
                command, = managers.commands(text)
                self.assertEqual(command.faults(), [fault])
        right, = managers.commands(f"cutechess-cli {engines} -engine cmd=glaurung -pgnout x.pgn"
                                   " -each option.Threads=1 -draw score=-5 movecount=2")
        self.assertEqual(right.faults(), [])
        self.assertEqual(managers.commands("cat fastchess # fastchess -x"), [])


@unittest.skipIf(yaml is None, "python3-yaml is not installed")
class LichessBot(unittest.TestCase):
    """The ready configuration."""

    @classmethod
    def setUpClass(cls) -> None:
        cls.options = announced_options()
        cls.settings = yaml.safe_load(links.read(CONFIGURATION))

    def test_options(self) -> None:
        given = self.settings["engine"]["uci_options"]
        self.assertEqual(set(given), set(self.options))
        for name, value in given.items():
            self.assertIs(type(value), int, name)
            self.assertIn(value, self.options[name], name)

    def test_engine(self) -> None:
        engine = self.settings["engine"]
        self.assertEqual((engine["name"], engine["protocol"]), ("morvane", "uci"))
        self.assertNotIn("engine_options", engine)

    def test_what_the_engine_cannot_do_is_off(self) -> None:
        self.assertIs(self.settings["engine"]["ponder"], False)
        self.assertIs(self.settings["correspondence"]["ponder"], False)
        variants = self.settings["challenge"]["variants"]
        self.assertEqual(set(variants) - {"standard", "fromPosition"}, set())
        switches = [*self.settings["engine"]["online_moves"].values(),
                    *self.settings["engine"]["lichess_bot_tbs"].values()]
        self.assertEqual([switch["enabled"] for switch in switches], [False] * 6)

    def test_no_token(self) -> None:
        self.assertEqual(self.settings["token"], "PUT-YOUR-TOKEN-HERE")

    def test_limits(self) -> None:
        challenge = self.settings["challenge"]
        self.assertLess(challenge["min_base"], challenge["max_base"])
        self.assertLessEqual(challenge["min_increment"], challenge["max_increment"])
        self.assertGreater(self.settings["abort_time"], 0)
        self.assertGreater(self.settings["move_overhead"], 0)


if __name__ == "__main__":
    unittest.main()
