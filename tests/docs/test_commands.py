"""Every command on the pages does what the page says: each is taken from the text and run.

The pages are README*.md, CONTRIBUTING.md, docs/*.md and the EXAMPLES of docs/morvane.6.  By the
kind of a block:

    sh          is run by bash in a scratch copy of the repository (sandbox.py), blocks of a page
                one after another; commands that build or test for minutes have stand-ins
                (standins.py)
    sh not run  must be correct shell, and what it names in the repository must exist
    text        is compared where a mark says with what:
                    <!-- output of the commands above -->  the last sh block, both streams
                    <!-- session input -->                 fed to the engine
                    <!-- session output -->                what the engine answered to it
                Speeds and times count as equal, a line "..." stands for any lines.
    yaml, ...   is only shown

The mark `<!-- tested with games=1000 => games=4 -->` before a block has the test take what stands
right of the arrow for what stands left.  Every block is listed with what became of it.
"""

from __future__ import annotations

import contextlib
import difflib
import pathlib
import re
import subprocess
import sys
import tempfile
import time
import unittest
import unittest.mock

import grammar
import pages
import sandbox
import standins
from client import Engine
from pages import Block, PageError
from sandbox import LIMIT, Sandbox

PAUSE = 0.3  # seconds that a session lets a search without end run
REPOSITORY_PATH = re.compile(r"(?<![\w./-])(?:\./)?(\w[\w.-]*(?:/[\w.-]+)+/?)")

# Times and speeds, which differ from run to run: the engine's, datagen's and those of solve-epd.
VARYING = (
    (re.compile(r"\b(nps|time) \d+"), r"\1 N"),
    (re.compile(r"\b\d[\d.e+-]* (nps\b(?! )|ms\b|s\b|seconds\b|с\b|партій/с\b)"), r"N \1"),
    (re.compile(r"\b(T|time)= *\d[\d.]*"), r"\1=N"),
)


# --- what is done with a block ---


def normalised(text: str) -> list[str]:
    """Lines without what differs from run to run."""
    for pattern, general in VARYING:
        text = pattern.sub(general, text)
    return [line.rstrip() for line in text.splitlines()]


def compare(block: Block, actual: str) -> str:
    wanted, found = normalised(block.tested), normalised(actual)
    pattern = "".join("(?:.*\n)*" if x == "..." else re.escape(x) + "\n" for x in wanted)
    if not re.fullmatch(pattern, "".join(x + "\n" for x in found)):
        difference = "\n".join(difflib.unified_diff(wanted, found, block.place, "now", lineterm=""))
        raise PageError(f"{block.place}: the output is another\n{difference}")
    return "as printed now"


def run_commands(block: Block, box: Sandbox, limit: float) -> tuple[str, str]:
    """Returns what was done, and the output."""
    missing = box.missing_program(block.tested)
    if missing:
        raise unittest.SkipTest(f"{block.place}: {missing} is not installed")
    start = time.monotonic()
    status, output = box.run(block.tested, limit)
    if status != 0:
        result = f"status {status}" if status is not None else f"no end in {limit} s"
        raise PageError(f"{block.place}: {result}\n{block.tested}{output}")
    done = [f"run, {time.monotonic() - start:.1f} s", *box.take_log()]
    return "\n    ".join(done), output


def check_unrun_commands(block: Block) -> str:
    """Commands that cannot be run here must at least be shell and name what exists."""
    syntax = subprocess.run(["bash", "-n", "-c", block.tested], capture_output=True, text=True,
                            check=False)
    if syntax.returncode != 0:
        raise PageError(f"{block.place}: {syntax.stderr}")
    check_mentions(block.place, block.tested)
    return "not run: correct shell, and what it names exists"


def check_mentions(place: str, text: str) -> None:
    """Files of the repository, presets and modes of the engine that a text names must exist."""
    folders = {entry.name for entry in pages.ROOT.iterdir() if entry.is_dir()} - {"build"}
    for name in REPOSITORY_PATH.findall(text):
        if name.partition("/")[0] in folders and not (pages.ROOT / name).exists():
            raise PageError(f"{place}: there is no {name}")
    for kind, name in re.findall(r"\b(cmake|ctest)\b[^|&;]* --preset[ =]([\w-]+)", text):
        if name not in standins.presets("configure" if kind == "cmake" else "test"):
            raise PageError(f"{place}: there is no preset {name}")
    called = r"(?:^|[;|&(])\s*(?:\S*/)?morvane ([a-z]+)\b"
    for word in re.findall(called, text, re.MULTILINE):
        if word not in modes():
            raise PageError(f"{place}: morvane has no mode {word}")


def check_inline_code(place: str, code: str) -> None:
    """Commands within a sentence or a table are not run; what they name must exist all the same."""
    check_mentions(place, code)
    try:
        for pattern in re.findall(r"benchmarks/run (\w+)", code):
            standins.benchmarks([pattern])
        for command in re.findall(r"measure\.py (\w+)", code):
            standins.measure([command])
        for module in re.findall(r"\btest_\w+", code):
            standins.python_tests([module])
    except standins.Wrong as wrong:
        raise PageError(f"{place}: {wrong}") from None


def modes() -> set[str]:
    source = (pages.ROOT / "src" / "uci" / "modes.cpp").read_text(encoding="utf-8")
    table = source[source.index("kModes[] = {") :]
    return set(re.findall(r'\{"(\w+)", \d', table))


def hold_session(text: str) -> str:
    """Feeds the engine; a command after "go" waits for the answer, or a while if none is due."""
    engine = Engine()
    try:
        for line in text.splitlines():
            engine.send(line)
            if line.split()[:1] == ["go"] and "infinite" in line:
                time.sleep(PAUSE)
            elif line.split()[:1] == ["go"]:
                engine.read_until(grammar.BEST_MOVE)
        if not text.endswith("quit\n"):
            engine.send("quit")
        if engine.wait() != 0:
            raise PageError(f"the engine ended with an error: {engine.stderr!r}")
        return engine.stdout.decode()
    finally:
        engine.kill()


class Reader:
    """Goes through the blocks of one page."""

    def __init__(self, box: Sandbox, limit: float = LIMIT) -> None:
        self._box = box
        self._limit = limit
        # By the mark of the blocks that show them; None where the commands were left out or failed.
        self._outputs: dict[str, str | None] = {}

    def read(self, block: Block) -> str:
        """Checks a block and returns what was done with it."""
        if block.kind == pages.COMMANDS:
            self._outputs[pages.OUTPUT] = None
            done, self._outputs[pages.OUTPUT] = run_commands(block, self._box, self._limit)
            return done
        if block.kind == pages.NOT_RUN:
            return check_unrun_commands(block)
        if block.role == pages.SESSION_INPUT:
            self._outputs[pages.SESSION_OUTPUT] = hold_session(block.tested)
            return "fed to the engine"
        if block.role:
            if block.role not in self._outputs:
                raise PageError(f"{block.place}: nothing above it was run")
            output = self._outputs[block.role]
            if output is None:
                raise unittest.SkipTest(f"{block.place}: there is no output to compare with")
            return compare(block, output)
        return "shown only"


# --- the pages ---


class Pages(unittest.TestCase):
    """A test for each page, added below."""

    maxDiff = None

    def check(self, path: pathlib.Path) -> None:
        if pages.is_translation(path):
            print("the same blocks as in the original, whose test runs them", file=sys.stderr)
        else:
            self.check_blocks(path)
        if path.suffix == ".md":
            for code in pages.inline_code(path.read_text(encoding="utf-8")):
                with self.subTest(code):
                    check_inline_code(path.name, code)


    def check_blocks(self, path: pathlib.Path) -> None:
        with contextlib.closing(Sandbox()) as box:
            reader = Reader(box)
            for block in pages.blocks_of(path):
                with self.subTest(block.place):
                    print(f"{block.place}: {block.kind}: ", end="", file=sys.stderr, flush=True)
                    print(reader.read(block), file=sys.stderr)
            self.assertEqual(box.left_behind(), [], ".gitignore does not name them")


def add_pages() -> None:
    for path in pages.pages():
        name = "test_" + re.sub(r"\W", "_", path.name.lower())
        setattr(Pages, name, lambda self, path=path: self.check(path))


add_pages()


# --- the tests of the test ---


class SamplePage(unittest.TestCase):
    """What becomes of pages that are wrong, and of some that are not."""

    maxDiff = None

    @classmethod
    def setUpClass(cls) -> None:
        cls.box = Sandbox()
        cls.addClassCleanup(cls.box.close)

    def blocks(self, text: str) -> list[Block]:
        return pages.markdown_blocks("page.md", text)

    def read(self, text: str, limit: float = LIMIT) -> list[str]:
        reader = Reader(self.box, limit)
        return [reader.read(block) for block in self.blocks(text)]

    def assert_wrong(self, text: str, message: str, limit: float = LIMIT) -> None:
        with self.assertRaisesRegex(PageError, message):
            self.read(text, limit)

    # --- collecting ---

    def test_page_without_blocks(self) -> None:
        self.assertEqual(self.blocks("# Title\n\nText with `code`.\n\n- a list\n\n    more\n"), [])

    def test_blocks_of_all_kinds(self) -> None:
        text = ("```sh\na\n\nb\n```\n1. item\n\n   ~~~sh not run\n   c\n   ~~~\n\n"
                "````text\n```\n````\n```yaml\n```\n")
        found = [(b.kind, b.text, b.line) for b in self.blocks(text)]
        self.assertEqual(found, [("sh", "a\n\nb\n", 2), ("sh not run", "c\n", 9),
                                 ("text", "```\n", 13), ("yaml", "", 16)])

    def test_marks(self) -> None:
        block, = self.blocks("<!-- session input -->\n<!-- tested with b => c d -->\n"
                             "<!-- tested with a=1 => a=2 -->\n```text\na=1 b\n```\n")
        self.assertEqual((block.role, block.tested), ("session input", "a=2 c d\n"))

    def test_pages_that_cannot_be_read(self) -> None:
        for text, message in (
            ("```bash\nls\n```\n", "unknown kind: 'bash'"),
            ("```\nls\n```\n", "unknown kind: ''"),
            ("```sh\nls\n", "without an end"),
            ("Text\n\n    ls\n", "indented block"),
            ("- item\n\nText\n\n    ls\n", "indented block"),
            ("<!-- output of commands -->\n```text\n```\n", "unknown mark"),
            ("<!-- session input -->\nText\n", "without a block"),
            ("<!-- tested with a => b -->\n", "without a block"),
        ):
            with self.subTest(text), self.assertRaisesRegex(PageError, message):
                self.blocks(text)

    def test_replacement_that_matches_nothing(self) -> None:
        for mark in ("games=1 => games=2", "true", " => true", "true =>"):
            with self.subTest(mark):
                self.assert_wrong(f"<!-- tested with {mark} -->\n```sh\ntrue games=3\n```\n",
                                  "replaces nothing")

    def test_inline_code(self) -> None:
        text = "Say `a b` or `c`.\n```sh\necho `d`\n```\n| `e` | x |\n"
        self.assertEqual(pages.inline_code(text), ["a b", "c", "e"])

    def test_translations(self) -> None:
        original = "<!-- session input -->\n```text\nx\n```\n```sh\n./run      # words\n```\n"
        for text, same in ((original, True), (original.replace("words", "слова"), True),
                           (original.replace("run ", "test "), False), ("", False),
                           (original.replace("session input", "session output"), False),
                           (original + "```sh\nls\n```\n", False)):
            with self.subTest(text), tempfile.TemporaryDirectory() as folder:
                pathlib.Path(folder, "page.md").write_text(original, encoding="utf-8")
                translation = pathlib.Path(folder, "page.uk.md")
                translation.write_text(text, encoding="utf-8")
                self.assertEqual(pages.is_translation(translation), same)
                self.assertFalse(pages.is_translation(pathlib.Path(folder, "page.md")))

    def test_manual_page(self) -> None:
        text = (".Sh A\n.Bd -literal\nno\n.Ed\n.Sh EXAMPLES\nText:\n.\\\" tested with 9 => 1\n"
                ".Bd -literal -offset indent\necho \\(aq9\\(aq \\e\n\\-x \\[u0456]\n.Ed\n"
                ".\\\" output of the commands above\n.Bd -literal\n1\n.Ed\n.Sh B\n")
        found = [(b.kind, b.tested, b.line, b.role) for b in pages.manual_blocks("m.6", text)]
        self.assertEqual(found, [("sh", "echo '1' \\\n-x і\n", 9, ""),
                                 ("text", "1\n", 14, pages.OUTPUT)])

    # --- running ---

    def test_a_block_that_fails(self) -> None:
        self.assert_wrong("```sh\nfalse\n```\n", r"page\.md:2: status 1")
        self.assert_wrong("```sh\nfalse | true\n```\n", "status 1")
        self.assert_wrong("```sh\nfalse\ntrue\n```\n", "status 1")
        self.assert_wrong("```sh\necho $nothing\n```\n", "unbound")
        self.assert_wrong("```sh\nmorvane evaltrace nonsense\n```\n", "status 1")
        self.assert_wrong("```sh\nscripts/none\n```\n", "status 127")

    def test_a_block_that_does_not_end(self) -> None:
        self.assert_wrong("```sh\nsleep 100 & sleep 100\n```\n", r"no end in 0\.2 s", 0.2)

    def test_files_stay_for_later_blocks_and_in_the_scratch_folder(self) -> None:
        name = "left-behind-by-a-page"
        done = self.read(f"```sh\necho x >{name}\nrm README.md\n```\n```sh\ncat {name}\n```\n"
                         "<!-- output of the commands above -->\n```text\nx\n```\n")
        self.assertEqual(done[-1], "as printed now")
        self.assertFalse((pages.ROOT / name).exists())
        self.assertTrue((pages.ROOT / "README.md").exists())

    def test_names_of_the_engine(self) -> None:
        text = "```sh\nfor engine in morvane build/release/morvane build/test/morvane; do\n" \
               "    echo isready | $engine\ndone\n```\n" \
               "<!-- output of the commands above -->\n```text\nreadyok\nreadyok\nreadyok\n```\n"
        self.assertEqual(self.read(text)[1], "as printed now")

    def test_output(self) -> None:
        page = "```sh\nprintf 'a 5 nps\\nb\\nc\\n'; echo d >&2\n```\n" \
               "<!-- output of the commands above -->\n```text\n{}\n```\n"
        for output in ("a 7 nps\nb\nc\nd", "...\nd", "a 5 nps\n...\nc\nd\n...", "..."):
            with self.subTest(output):
                self.assertEqual(self.read(page.format(output))[1], "as printed now")
        for output in ("a 7 nps\nb\nc", "b\nc\nd", "a 5 ns\nb\nc\nd", "...\nb\nd", "", "a...\nd"):
            with self.subTest(output):
                self.assert_wrong(page.format(output), "the output is another")
        self.assert_wrong("<!-- session output -->\n```text\n```\n", "nothing above")

    def test_blocks_that_are_left_out(self) -> None:
        page = "```sh\necho x\n```\n```sh\n{}\n```\n" \
               "<!-- output of the commands above -->\n```text\nx\n```\n"
        with unittest.mock.patch.dict(sandbox.OPTIONAL_PROGRAMS, {"x-board": "no-such-program"}):
            first, second, output = self.blocks(page.format("my/x-board"))
            reader = Reader(self.box)
            reader.read(first)
            for block, reason in ((second, "no-such-program is not"), (output, "no output")):
                with self.assertRaisesRegex(unittest.SkipTest, reason):
                    reader.read(block)
            self.assertTrue(self.read("```sh\necho my-x-board x-boards\n```\n"))

    def test_numbers_that_vary(self) -> None:
        text = "nodes 5 nps 1234 time 1\n" \
               "2.5 с, 1.1e+06 партій/с, 3 ms\n" \
               "[D= 3, T=   0.01s, N= 7k] time=0.02 N=7\n" \
               "3 ms 7 nps\n12 nodes 7 plies timed 8"
        self.assertEqual(normalised(text), [
            "nodes 5 nps N time N", "N с, N партій/с, N ms", "[D= 3, T=Ns, N= 7k] time=N N=7",
            "N ms N nps", "12 nodes 7 plies timed 8"])

    def test_session(self) -> None:
        best = hold_session("go depth 1\n").split()[-1]
        page = "<!-- session input -->\n```text\ngo depth 1\ngo infinite\nstop\nisready\n```\n" \
               "<!-- session output -->\n```text\n{}\n```\n"
        good = f"...\nbestmove {best}\n...\nreadyok"
        self.assertEqual(self.read(page.format(good)), ["fed to the engine", "as printed now"])
        for output in (good.replace(best, "a1a1"), good + "\nreadyok", good.replace("...\n", "")):
            with self.subTest(output):
                self.assert_wrong(page.format(output), "the output is another")

    # --- commands that are not run ---

    def test_commands_that_cannot_be_run(self) -> None:
        good = "```sh not run\nsudo apt install x\nscripts/build-profiled && ./run\n" \
               "cmake --preset release -B build/x\nbuild/x/morvane bench\n```\n"
        self.assertTrue(self.read(good)[0].startswith("not run"))
        for text, message in (("if true; then", "syntax error"),
                              ("scripts/none", "no scripts/none"),
                              ("./scripts/none", "no scripts/none"),
                              ("cmake --preset none", "no preset none"),
                              ("morvane dance", "no mode dance")):
            with self.subTest(text):
                self.assert_wrong(f"```sh not run\n{text}\n```\n", message)

    def test_inline_code_that_names_nothing(self) -> None:
        for code in ("morvane dance", "x | morvane dance", "measure.py dance", "test_dance",
                     "benchmarks/run dance", "python3 tests/uci/run.py test_dance",
                     "docs/dance.md"):
            with self.subTest(code), self.assertRaisesRegex(PageError, "dance"):
                check_inline_code("page.md", code)
        for code in ("morvane perft FEN DEPTH", "apt install morvane polyglot", "test_go",
                     "measure.py latency ENGINE", "benchmarks/run perft", "docs/uci.md",
                     "/usr/scripts/none", "x/docs/none", "build/none/morvane"):
            with self.subTest(code):
                check_inline_code("page.md", code)

    def test_stand_ins(self) -> None:
        done = self.read("```sh\ncmake --preset debug -DMORVANE_LTO=OFF\n"
                         "cmake --build --preset debug\necho d | build/debug/morvane\n"
                         "./test\nfuzz/run fen 100\npython3 tests/uci/run.py test_go Depth\n```\n")
        self.assertEqual(done[0].count("\n"), 5, done)
        self.assertIn("nothing is installed", self.read("```sh\nsudo apt install x\n```\n")[0])
        for command in ("cmake --preset none", "cmake --preset base", "cmake --build --preset fuzz",
                        "cmake --preset release -DMORVANE_NONE=1", "cmake --build build/none",
                        "ctest --preset none", "sudo rm x", "apt install ./none.deb", "./test none",
                        "fuzz/run none 5", "benchmarks/run noSuchBenchmark", "cmake --unknown",
                        "python3 tests/uci/run.py test_none",
                        "python3 tests/uci/run.py test_go None",
                        "python3 benchmarks/measure.py none build/release/morvane",
                        "python3 benchmarks/measure.py latency build/none", "scontrol ping",
                        "kubectl apply -f none", "podman build -f none -t x .", "podman build -t x ."):
            with self.subTest(command):
                self.assert_wrong(f"```sh\n{command}\n```\n", "status 1")


if __name__ == "__main__":
    unittest.main()
