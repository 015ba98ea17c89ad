"""What a client may send by mistake, in haste or in malice, and what must come of it.

Every case is a piece of input with the position before it, everything that the engine must print
on it besides the lines of a search, and the position that must stand afterwards.
"""

from __future__ import annotations

import dataclasses
import re

import grammar
from client import START_FEN
from rules import Position
from test_long_games import long_game
from test_options import bad_value
from test_position import EMPTY_FEN, MISSING, bad_fen, illegal, unknown
from test_protocol import PERFT_REFUSAL

MEGABYTE = 1 << 20
LONGEST_LINE = 16 << 20
TOO_LONG = "задовгий рядок — пропущено"

# Every field differs from the start position's.
BASE = "r1bqk2r/pppp1ppp/2n2n2/2b1p3/2B1P3/2N2N2/PPPP1PPP/R1BQK2R b Kkq - 7 30"
# The fifty-move rule ends every line after one move: any depth is reached at once.
LAST_MOVE = "8/8/4k3/8/8/3K4/8/8 w - - 99 80"
MATED = "rnb1kbnr/pppp1ppp/8/4p3/6Pq/5P2/PPPPP2P/RNBQKBNR w KQkq - 1 3"
STALEMATED = "7k/5Q2/6K1/8/8/8/8/8 b - - 0 1"


@dataclasses.dataclass(frozen=True)
class Best:
    """The answer to a `go`: a legal move, if there is one, after this many iterations."""

    fen: str
    depth: int | None = None  # None: however many there were


Answer = str | re.Pattern | Best


@dataclasses.dataclass(frozen=True)
class Case:
    name: str
    text: bytes
    answers: list[Answer] = dataclasses.field(default_factory=list)
    before: str = BASE
    after: str | None = None  # None: as before
    repeat: bool = True  # False: too long to be served twice


def encode(text: str) -> bytes:
    return text.encode(errors="surrogateescape")


def decode(data: bytes) -> str:
    return data.decode(errors="surrogateescape")


def line(text: str | bytes, *answers: Answer, name: str = "", **options) -> Case:
    """A case of one line, which names it if it is short."""
    data = text if isinstance(text, bytes) else encode(text)
    return Case(name or repr(data)[:100], data + b"\n", list(answers), **options)


def said(message: str) -> str:
    return "info string " + message


def played(fen: str, *moves: str) -> str:
    position = Position(fen)
    for move in moves:
        position.play(move)
    return position.fen()


# --- lines and bytes ---

def bytes_that_are_no_text() -> list[Case]:
    silent = [
        b"\x00", b"\x00isready", b"isready\x00", b"\x00quit", b"quit\x00", b"\xef\xbb\xbfisready",
        b"\xff\xfei\x00s\x00r\x00e\x00a\x00d\x00y\x00", b"\xa0isready", b"isready\xc2\xa0",
        b"\x85quit", b"\x1b[A", b"\x08isready", b"\x7f", b"\x04", b"\x1a", b"\xf8\x88\x80\x80\x80",
        b"\xc0\xae", b"\xed\xa0\x80", b"\xf4\x90\x80\x80", b"go\x00infinite",
        b"\xe2\x80\xa8isready", b"setoption\x00name Hash value x",
        b"setoption name Ha\x00sh value x", b"setoption name \xff\xfe value 1",
        "позиція".encode("koi8-u"), "стоп".encode("utf-16"), bytes(range(0x80, 0x100)),
        bytes(c for c in range(1, 0x20) if c != 10), "ｉｓｒｅａｄｙ".encode(), "іsready".encode(),
        b"%s%n%p%x", b"$(quit)", b"`quit`", b"\\n",
    ]
    cases = [line(data) for data in silent]
    for value in (b"1\x00", b"\x001", b"\xff", b"\xef\xbc\x91", b"1\xa0", b"\xd0", b"\x1b[1m5"):
        for option in ("Hash", "Threads", "Move Overhead"):
            cases.append(line(b"setoption name " + option.encode() + b" value " + value,
                              said(bad_value(option.lower(), decode(value)))))
    for word in (b"\x00", b"startpos\x00", b"\x00startpos", b"fen\x00", b"\xd1", b"startpos\xa0",
                 b"\xff\xff"):
        cases.append(line(b"position " + word, said(unknown(decode(word)))))
    for fen in (b"\x00", BASE.encode() + b"\x00", b"\x00" + BASE.encode(),
                b"4k3/8/8/8/8/8/8/4K3\x00 w - -", b"4k3/8/8/8/8/8/8/4K3 w\x00 - -",
                b"4k3/8/8/8/8/8/8/4K3 w - \xff", b"4k3/8/8/8/8/8/8/4K3 w - - 1\x00",
                b"4k3/8/8/8/8/8/8/4K3 w - - \xd9\xa1",
                "4♚3/8/8/8/8/8/8/4♔3 w - -".encode(), "4к3/8/8/8/8/8/8/4K3 w - -".encode()):
        cases.append(line(b"position fen " + fen, said(bad_fen(decode(fen)))))
    for move in (b"e2e4\x00", b"e2\x00e4", b"\x00e2e4", b"\xff\xfe\xfd\xfc", b"e2e\xb4",
                 b"e2e4\xff", "е2е4".encode(), "ｅ２ｅ４".encode(), b"\x00\x00\x00\x00"):
        cases.append(line(b"position startpos moves d2d4 " + move + b" e7e5",
                          said(illegal(decode(move))), after=played(START_FEN, "d2d4")))
    for depth in (b"1\x00", b"\x00", b"\xff", b"\xef\xbc\x93", b"2\xa0"):
        cases.append(line(b"perft " + depth, said(PERFT_REFUSAL)))
    cases.append(line(b"go depth\x00 2 depth 3", Best(BASE, 3)))
    cases.append(line(b"go \xff\xfe depth 2 \x00", Best(BASE, 2)))
    cases.append(line(b"go depth 2\x00 depth 3", Best(BASE, 3)))
    cases.append(line(b"go depth \x002", "bestmove 0000"))
    return cases


def ends_of_lines() -> list[Case]:
    after = played(START_FEN, "e2e4", "e7e5")
    return [
        Case("lone CR is a blank", b"isready\risready\risready\n", ["readyok"]),
        Case("lone CR between commands", b"position startpos\rposition x\n", after=START_FEN),
        Case("lone CR between words", b"position\rstartpos\rmoves\re2e4\re7e5\r\n", after=after),
        Case("CRLF", b"position startpos moves e2e4 e7e5\r\nisready\r\n", ["readyok"], after=after),
        Case("LFCR", b"isready\n\risready\n\r\n", 2 * ["readyok"]),
        Case("CRCRLF", b"isready\r\r\nposition x\r\r\n", ["readyok", said(unknown("x"))]),
        Case("no LF but CR for a while", 5000 * b"isready\r" + b"\n", ["readyok"]),
        Case("form feeds and vertical tabs", b"\f\visready\v\f\nposition\vstartpos\n", ["readyok"],
             after=START_FEN),
        Case("blanks before a CR", b"position   \t \r \t\r\n", [said(MISSING)]),
        Case("100,000 empty lines", 50_000 * b"\n\r\n"),
        Case("100,000 blank lines", 50_000 * b" \n\t \r\n"),
        Case("a megabyte of blanks", MEGABYTE * b" " + b"\n"),
        Case("a megabyte of tabs, then a command", MEGABYTE * b"\t" + b"isready\n", ["readyok"]),
        Case("a command, then a megabyte of blanks", b"isready" + MEGABYTE * b" \r" + b"\n",
             ["readyok"]),
    ]


def long_lines() -> list[Case]:
    many = MEGABYTE * "x"
    nul, digits, slashes = MEGABYTE * "\0", MEGABYTE * "9", (MEGABYTE // 2) * "8/"
    kings = "4k3/8/8/8/8/8/8/4K3 w - -"
    cases = [
        line(many, name="a megabyte of an unknown word"),
        line(nul, name="a megabyte of NUL bytes"),
        line(MEGABYTE * b"\xff", name="a megabyte of no text"),
        line((MEGABYTE // 8) * "isready ", "readyok", name="a megabyte of one command's word"),
        line((MEGABYTE // 5) * "quit", name="a megabyte that begins like a command"),
        line("isready " + many, "readyok", name="a megabyte behind a command"),
        line("position " + many, said(unknown(many)), name="a megabyte behind position"),
        line("position fen " + many, said(bad_fen(many)), name="a megabyte of a FEN"),
        line("position fen " + slashes, said(bad_fen(slashes)), name="a megabyte of ranks"),
        line(f"position fen {kings} {digits} 1", said(bad_fen(f"{kings} {digits} 1")),
             name="a megabyte of digits for a clock"),
        line(f"position fen {kings} 0 1 {many}", after=f"{kings} 0 1",
             name="a megabyte behind a FEN"),
        line("position fen " + (MEGABYTE // 2) * "x ",
             said(bad_fen(" ".join((MEGABYTE // 2) * "x"))), name="half a million fields"),
        line("position startpos " + many, after=START_FEN, name="a megabyte behind startpos"),
        line("position startpos moves " + many, said(illegal(many)), after=START_FEN,
             name="a megabyte of a move"),
        line("position startpos moves e2e4" + MEGABYTE * "q",
             said(illegal("e2e4" + MEGABYTE * "q")), after=START_FEN,
             name="a megabyte of promotions of one move"),
        line("position startpos moves " + 200_000 * "e2e4 ", said(illegal("e2e4")),
             after=played(START_FEN, "e2e4"), name="a megabyte of one move"),
        line("position startpos moves " + 200_000 * "0000 ", said(illegal("0000")),
             after=START_FEN, name="a megabyte of null moves"),
        line("position startpos " + 200_000 * "moves ", said(illegal("moves")), after=START_FEN,
             name="a megabyte of the word moves"),
        line("position startpos moves " + 50_000 * "g1f3 g8f6 f3g1 f6g8 " + "e2e4",
             after="rnbqkbnr/pppppppp/8/8/4P3/8/PPPP1PPP/RNBQKBNR b KQkq e3 0 100001",
             name="a game of 200,001 plies"),
        line("setoption name Hash value " + many, said(bad_value("hash", many)),
             name="a megabyte of a value"),
        line("setoption name Threads value " + digits, said(bad_value("threads", digits)),
             name="a megabyte of digits of a value"),
        line("setoption name Move Overhead value " + MEGABYTE * "0" + "10",
             name="a megabyte of leading noughts"),
        line("setoption name " + many + " value 1", name="a megabyte of an option's name"),
        line("setoption name " + (MEGABYTE // 5) * "Hash " + "value x",
             name="a megabyte of an option's name repeated"),
        line("perft " + digits, said(PERFT_REFUSAL), name="a megabyte of digits of a depth"),
        line("perft " + MEGABYTE * "0" + "1", before=MATED, name="a megabyte of noughts of a depth",
             *["", "Nodes searched: 0"]),
        line("go depth " + digits, Best(LAST_MOVE, 128), before=LAST_MOVE,
             name="go with a megabyte of digits"),
        line("go depth -" + digits, "bestmove 0000", name="go with a megabyte of digits below 0"),
        line("go depth " + MEGABYTE * "0" + "2", Best(BASE, 2),
             name="go with a megabyte of noughts"),
        line("go " + many + " depth 2", Best(BASE, 2), name="go with a megabyte of a word"),
        line("go " + 100_000 * "x " + "depth 2", Best(BASE, 2),
             name="go with 100,000 unknown words"),
        line("go " + 50_000 * "depth 9 " + "depth 2", Best(BASE, 2), name="go with 100,002 tokens"),
        line("go searchmoves " + 100_000 * "e8g8 " + "depth 2", Best(BASE, 2),
             name="go searchmoves with 100,000 moves"),
        line("go " + 100_000 * "infinite " + "\nstop", Best(BASE),
             name="go infinite 100,000 times"),
    ]
    longest = "isready".ljust(LONGEST_LINE)
    for text, answer in ((longest, "readyok"), (longest + " ", said(TOO_LONG)),
                         ("position startpos".ljust(LONGEST_LINE + 1), said(TOO_LONG)),
                         ("quit ".ljust(2 * LONGEST_LINE, "x"), said(TOO_LONG))):
        cases.append(line(text, answer, name=f"{len(text)} bytes of {text[:8]}", repeat=False))
    game = long_game(6000)
    cases.append(line("position startpos moves " + " ".join(game), after=played(START_FEN, *game),
                      name="a game of 6,000 plies"))
    cases.append(line(f"position startpos moves {' '.join(game)} e1e3 {' '.join(game)}",
                      said(illegal("e1e3")), after=played(START_FEN, *game),
                      name="a wrong move behind 6,000 plies"))
    return cases


# --- numbers ---

NUMBERS = [
    "0", "1", "2", "-1", "+1", "-0", "+", "-", "--1", "+-1", "007", "1.5", "1e3", "0x10", "12x",
    "x", "1,000", "1_000", "½", "٣", "NaN", "inf", "255", "256", "65535", "65536", "2147483646",
    "2147483647", "2147483648", "-2147483647", "-2147483648", "-2147483649", "+2147483647",
    "4294967295", "4294967296", "4294967297", "1099511627776", "1099511627777",
    "9223372036854775806", "9223372036854775807", "9223372036854775808", "-9223372036854775808",
    "-9223372036854775809", "18446744073709551615", "18446744073709551616", "18446744073709551617",
    "-18446744073709551616", "340282366920938463463374607431768211456", "9" * 40, "-" + "9" * 40,
]
BITS_OF_FIELD = {"depth": 32, "movetime": 32, "wtime": 32, "btime": 32, "winc": 32, "binc": 32,
                 "movestogo": 32, "nodes": 64}
AT_ONCE = 1_000_000  # limits of more nodes or milliseconds than this do not cut a search short


def read_limits(text: str) -> dict[str, int]:
    """The limits of a `go`, read as a stream reads numbers: as far as the digits go, and a number
    that is none, or too large, ends the list.  At the line's end there is nothing to read."""
    limits: dict[str, int] = {"depth": 100}
    while match := re.match(r"\s*(\S+)", text):
        text, word = text[match.end():], match[1]
        if word not in BITS_OF_FIELD:
            continue
        if not text.strip():
            break
        number = re.match(r"\s*([+-]?[0-9]+)", text)
        value = int(number[1]) if number else 0
        bound = 1 << BITS_OF_FIELD[word] - 1
        limits[word] = max(-bound, min(value, bound - 1))
        if not number or limits[word] != value:
            break
        text = text[number.end():]
    return limits


def go_on_the_last_move(arguments: str) -> Case:
    limits = read_limits(arguments)
    cuts = [limits.get(word, 0) for word in ("nodes", "movetime", "wtime")]
    whole = all(cut < 1 or cut > AT_ONCE for cut in cuts)
    best = Best(LAST_MOVE, min(limits["depth"], 128) if whole else None)
    return line(f"go {arguments}".rstrip(), best if limits["depth"] > 0 else "bestmove 0000",
                before=LAST_MOVE)


def numbers_of_go() -> list[Case]:
    cases = []
    for field in BITS_OF_FIELD:
        for number in NUMBERS:
            # The second limit tells whether the list was read on.
            cases.append(go_on_the_last_move(f"{field} {number} depth 7"))
    for number in NUMBERS:
        every = " ".join(f"{field} {number}" for field in BITS_OF_FIELD if field != "depth")
        cases.append(go_on_the_last_move(every))
    return cases


def option_value(text: str) -> int | None:
    """A whole decimal number of 32 bits, or nothing."""
    if not re.fullmatch(r"[+-]?[0-9]+", text) or not -(1 << 31) <= int(text) < 1 << 31:
        return None
    return int(text)


def numbers_of_options() -> list[Case]:
    cases = []
    for option, usual in (("Hash", 4), ("Threads", 1), ("Move Overhead", 10)):
        for number in NUMBERS:
            text = f"setoption name {option} value {number}"
            known = option_value(number) is not None
            refused = [] if known else [said(bad_value(option.lower(), number))]
            # Back at once: the greatest values take most of the machine.
            back = f"setoption name {option} value {usual}"
            cases.append(line(f"{text}\n{back}", *refused, name=text))
    return cases


def numbers_of_perft() -> list[Case]:
    cases = []
    for number in NUMBERS:
        depth = option_value(number)
        good = depth is not None and 1 <= depth <= 1024
        answers = ["", "Nodes searched: 0"] if good else [said(PERFT_REFUSAL)]
        cases.append(line(f"perft {number}", *answers, before=MATED))
    return cases


def numbers_of_a_fen() -> list[Case]:
    cases = []
    kings = "4k3/8/8/8/8/8/4P3/4K3 w - -"
    for number in NUMBERS + ["99", "100", "101", "150", "999999999", "0000000001", "000000001"]:
        good = re.fullmatch("[0-9]{1,9}", number)
        for fen, after in ((f"{kings} {number} 5", lambda n: f"{kings} {min(n, 100)} 5"),
                           (f"{kings} {number}", lambda n: f"{kings} {min(n, 100)} 1"),
                           (f"{kings} 5 {number}", lambda n: f"{kings} 5 {max(n, 1)}")):
            if good:
                cases.append(line(f"position fen {fen}", after=after(int(number))))
            else:
                cases.append(line(f"position fen {fen}", said(bad_fen(fen))))
    return cases


# --- words ---

def words_out_of_place() -> list[Case]:
    after = played(START_FEN, "e2e4")
    silent = [
        "xyzzy", "please isready", "info depth 3", "bestmove e2e4", "readyok", "uciok", "id name x",
        "option name Hash", '"isready"', "isready;quit", "go;stop", "quit;", "exit", "bye", "-quit",
        "--help", "/quit", "position;startpos", "fen " + BASE, "moves e2e4", "startpos", "perft=3",
        "Stop", "stop;", "debug", "debug on off", "register name x code y", "ponderhit",
        "setoption", "setoption Hash", "setoption Hash value x", "setoption name",
        "setoption name value", "setoption name value Hash", "setoption value 5 name Hash",
        "setoption name name Hash value x", "setoption name Hash Hash value x",
        "setoption name Hashvalue 5", "setoption name Hash=5",
        "setoption name Overhead Move value x", "setoption name Move value Overhead",
        "setoption name Clear Hash", "setoption name UCI_Elo value x", "stop stop", "stop now",
    ]
    cases = [line(text) for text in silent]
    cases += [
        line("isready isready", "readyok"),
        line("isready isready quit", "readyok"),
        line("uci uci isready", *grammar.IDENTIFICATION),
        line("d d d", f"fen: {BASE}"),
        line("d moves e2e4", f"fen: {BASE}"),
        line("ucinewgame ucinewgame", after=START_FEN),
        line("ucinewgame position fen " + BASE, after=START_FEN),
        line("position", said(MISSING)),
        line("position position startpos", said(unknown("position"))),
        line("position moves e2e4 startpos", said(unknown("moves"))),
        line("position e2e4", said(unknown("e2e4"))),
        line("position " + BASE, said(unknown(BASE.split()[0]))),
        line("position startpos startpos", after=START_FEN),
        line("position startpos startpos moves e2e4", after=START_FEN),
        line("position startpos fen " + BASE, after=START_FEN),
        line("position startpos fen " + BASE + " moves e8g8", after=START_FEN),
        line("position startpos moves", after=START_FEN),
        line("position startpos moves moves e2e4", said(illegal("moves")), after=START_FEN),
        line("position startpos moves e2e4 moves e7e5", said(illegal("moves")), after=after),
        line("position startpos moves e2e4 position startpos", said(illegal("position")),
             after=after),
        line("position startpos moves startpos", said(illegal("startpos")), after=START_FEN),
        line("position startpos moves e2e4, e7e5", said(illegal("e2e4,")), after=START_FEN),
        line("position startpos moves e2e4;e7e5", said(illegal("e2e4;e7e5")), after=START_FEN),
        line("position startpos moves e2e4 e7e5.", said(illegal("e7e5.")), after=after),
        line("position startpos moves 1. e2e4", said(illegal("1.")), after=START_FEN),
        line("position fen", said(EMPTY_FEN)),
        line("position fen moves", said(EMPTY_FEN)),
        line("position fen moves moves", said(EMPTY_FEN)),
        line("position fen startpos", said(bad_fen("startpos"))),
        line("position fen startpos moves e2e4", said(bad_fen("startpos"))),
        line("position fen fen " + BASE, said(bad_fen("fen " + BASE))),
        line(f"position fen {START_FEN} fen {BASE}", after=START_FEN),
        line(f"position fen {START_FEN} startpos moves e2e4", after=after),
        line(f"position fen {START_FEN} moves moves", said(illegal("moves")), after=START_FEN),
        line(f"position fen {START_FEN} moves e2e4 fen {BASE}", said(illegal("fen")), after=after),
        line(f'position fen "{START_FEN}"', said(bad_fen(f'"{START_FEN}"'))),
        line("position fen w KQkq - 0 1 " + START_FEN.split()[0],
             said(bad_fen("w KQkq - 0 1 " + START_FEN.split()[0]))),
        line("setoption name Hash value", said(bad_value("hash", ""))),
        line("setoption name Hash", said(bad_value("hash", ""))),
        line("setoption name Hash value value", said(bad_value("hash", "value"))),
        line("setoption name Hash value 5 value 6", said(bad_value("hash", "5 value 6"))),
        line("setoption name Hash value 5 name Threads", said(bad_value("hash", "5 name Threads"))),
        line("setoption setoption Threads value x", said(bad_value("threads", "x"))),
        line("setoption name Threads value Threads", said(bad_value("threads", "Threads"))),
        line("perft perft 1", said(PERFT_REFUSAL)),
        line("perft depth 1", said(PERFT_REFUSAL)),
        line("perft -", said(PERFT_REFUSAL)),
        line("perft 1 0", "", "Nodes searched: 0", before=MATED),
    ]
    cases += [go_on_the_last_move(arguments) for arguments in (
        "", "go depth 3", "depth", "depth depth 3", "depth 3 depth", "depth 3 depth 2", "3 depth",
        "depth infinite", "depth wtime 5", "wtime btime 1000 depth 3", "wtime", "nodes", "winc",
        "movetime movetime 5 depth 3", "depth 4 movetime", "depth 4 nodes nodes", "nodes 1 nodes 0",
        "nodes 5 depth 0", "depth 3 nodes 0 nodes x depth 4", "stop", "quit", "isready", "ponder",
        "ponder ponder depth 2", "mate 3 depth 2", "mate depth 2", "searchmoves depth 2",
        "searchmoves d3d4 infinit depth 2", "Depth 3 depth 5", "depth3 depth 5", "depth=3",
        "depth:3 depth 4", "--depth 3", "infinite2 depth 3", "INFINITE depth 3",
        "movestogo 0 depth 3", "movestogo -1 wtime 2147483647 depth 3", "binc winc 5 depth 3",
        "btime 1 depth 9", "perft 3", "position startpos", "depth 2 moves e2e4",
    )]
    cases += [line(f"go {arguments}\nstop", Best(LAST_MOVE), before=LAST_MOVE) for arguments in (
        "infinite", "infinite infinite", "infinite depth 1", "infinite depth 0", "depth 1 infinite",
        "infinite depth x", "infinite nodes 1", "nodes 1 infinite", "infinite movetime 1",
        "wtime 1 infinite", "x infinite", "infinite x", "infinite 5", "ponder infinite",
    )]
    cases.append(line("go depth infinite\nstop", "bestmove 0000", before=LAST_MOVE))
    return cases


# --- positions ---

def queens(squares: int, pattern) -> str:
    """A board of queens of both colours, the kings in opposite corners behind their own ones: no
    line to them is open whatever the pattern says of the other squares."""
    rows = []
    empty = [(3, 3), (4, 4)][: 62 - squares]
    for rank in range(7, -1, -1):
        row = ""
        for file in range(8):
            if file + rank in (0, 14):
                row += "K" if rank == 0 else "k"
            elif (file, rank) in empty:
                row += "1"
            elif max(file, rank) <= 1:
                row += "Q"
            elif min(file, rank) >= 6:
                row += "q"
            else:
                row += "Q" if pattern(file, rank) else "q"
        rows.append(row)
    return "/".join(rows)


QUEENS = [
    queens(60, lambda file, rank: (file + rank) % 2),
    queens(60, lambda file, rank: rank < 4),
    queens(60, lambda file, rank: file < 4),
    queens(60, lambda file, rank: (file * 3 + rank * 5) % 7 < 3),
    queens(60, lambda file, rank: False),
    queens(62, lambda file, rank: (file ^ rank) & 2),
]


def odd_positions() -> list[Case]:
    """Positions that no game reaches, and that are taken nevertheless: with what they become."""
    as_they_are = [f"{board} {side} - - 0 1" for board in QUEENS for side in "wb"] + [
        "kqqqqqqq/qqqqqqqq/qqqqqqqq/qqqqqqqq/qqqqqqqq/qqqqqqqq/qqqqqqqq/qqqqqqqK w - - 0 1",
        "knnnnnnn/nnnnnnnn/nnnnnnnn/nnnnnnnn/NNNNNNNN/NNNNNNNN/NNNNNNNN/NNNNNNNK w - - 0 1",
        "4k3/bbbbbbbb/8/8/8/8/NNNNNNNN/4K3 w - - 0 1",
        "rrrrkrrr/8/8/8/8/8/8/RRRRKRRR w - - 0 1",
        # Checks by more men than can give them.
        "4k3/8/8/8/8/8/4r3/r3K3 w - - 0 1",
        "4k3/8/8/8/8/3n1n2/8/4K3 w - - 0 1",
        "4k3/8/8/8/1b6/3n4/8/r3K3 w - - 0 1",
        "4k3/8/8/8/1b6/3n4/4q3/r3K2r w - - 0 1",
        "4k3/8/8/8/8/8/3p1p2/4K3 w - - 0 1",
        "4k3/8/8/3n1n2/2n3n1/4K3/2n3n1/3n1n2 w - - 0 1",
        "3qkq2/8/8/q2K2q1/8/8/q2q2q1/8 w - - 0 1",
        "4k3/3P1P2/2N3N1/8/B6B/8/8/4KR2 b - - 0 1",
        # Pawns of their own kind.
        "4k3/PPPPPPPP/PPPPPPPP/8/8/8/8/4K3 b - - 0 1",
        "4k3/pppppppp/pppppppp/pppppppp/PPPPPPPP/PPPPPPPP/PPPPPPPP/4K3 w - - 0 1",
        "4k3/P1P1P1P1/8/8/8/8/p1p1p1p1/4K3 w - - 0 1",
        "4k3/pPpPpPpP/PpPpPpPp/pPpPpPpP/PpPpPpPp/pPpPpPpP/P1P1P1P1/4K3 b - - 0 1",
        "8/8/8/8/4P3/8/4k1K1/8 b - - 0 1",
        # En passant: with none to take, pinned, against a check, in a check, at the edges.
        "rnbqkbnr/pppp1ppp/8/4p3/8/8/PPPPPPPP/RNBQKBNR w KQkq e6 0 2",
        "8/8/8/K2pP2r/8/8/8/4k3 w - d6 0 1",
        "4r1k1/8/8/3pP3/8/8/8/4K3 w - d6 0 1",
        "8/8/8/2k5/3Pp3/8/8/4K3 b - d3 0 1",
        "4k3/8/8/3pP3/8/8/8/r3K3 w - d6 0 1",
        "4k3/8/8/pP5P/8/8/8/4K3 w - a6 0 1",
        "4k3/8/8/P6p/8/8/8/4K3 w - h6 0 1",
        "4k3/8/8/8/pP5P/8/8/4K3 b - h3 0 1",
        "4k3/8/8/2PpP3/8/8/8/4K3 w - d6 0 1",
        "7b/8/8/3pP3/8/2K5/8/4k3 w - d6 0 1",
        # Castling: into, out of and through a check, behind a pin, with a rook attacked.
        "r3k2r/8/8/8/4R3/8/8/R3K2R b KQkq - 0 1",
        "r3k2r/8/8/8/3R4/8/8/R3K2R b KQkq - 0 1",
        "r3k2r/8/8/8/5R2/8/8/R3K2R b KQkq - 0 1",
        "r3k2r/8/8/8/1R4R1/8/8/R3K2R b KQkq - 0 1",
        "r3k2r/8/8/8/R6R/8/8/4K3 b kq - 0 1",
        "rn2k1nr/8/8/8/8/8/8/RN2K1NR w KQkq - 0 1",
        "r3k2r/6P1/8/8/8/8/1p6/R3K2R w KQkq - 0 1",
        "r3k2r/4P3/8/8/8/8/4p3/R3K2R w KQkq - 0 1",
        "r3k2r/8/8/8/8/8/8/R3K2R b Kq - 0 1",
        # Clocks.
        "4k3/8/8/8/8/8/4P3/R3K3 w Q - 99 999999999",
        "4k3/8/8/8/8/8/4P3/R3K3 w Q - 100 999999999",
        "k7/8/1K6/8/8/8/8/7R w - - 99 100",
        # Nobody can win, or move, or be saved.
        "4k3/8/8/8/8/8/8/4K3 w - - 0 1",
        MATED,
        STALEMATED,
        "7k/8/8/8/8/8/8/qq5K w - - 0 1",
        "8/8/8/8/8/5k2/5p2/5K2 w - - 0 1",
        "k7/P7/K7/8/8/8/8/8 b - - 100 1",
        "R5k1/5ppp/8/8/8/8/8/6K1 b - - 100 60",
        "6rk/5Npp/8/8/8/8/8/6K1 b - - 0 1",
    ]
    changed = {
        "r3k2r/8/8/8/8/8/8/R3K2R w kqKQ - 0 1": "r3k2r/8/8/8/8/8/8/R3K2R w KQkq - 0 1",
        "4k2r/8/8/8/8/8/8/R3K3 w KQkq - 0 1": "4k2r/8/8/8/8/8/8/R3K3 w Qk - 0 1",
        "R3k2R/8/8/8/8/8/8/4K3 b kq - 0 1": "R3k2R/8/8/8/8/8/8/4K3 b - - 0 1",
        "4K3/8/8/8/8/8/8/4k3 w KQkq - 0 1": "4K3/8/8/8/8/8/8/4k3 w - - 0 1",
        "r2k3r/8/8/8/8/8/8/R2K3R w KQkq - 0 1": "r2k3r/8/8/8/8/8/8/R2K3R w - - 0 1",
        "n3k2n/8/8/8/8/8/8/B3K2Q w KQkq - 0 1": "n3k2n/8/8/8/8/8/8/B3K2Q w - - 0 1",
        "4k3/8/3n4/3pP3/8/8/8/4K3 w - d6 0 1": "4k3/8/3n4/3pP3/8/8/8/4K3 w - - 0 1",
        "4k3/8/8/3PP3/8/8/8/4K3 w - d6 0 1": "4k3/8/8/3PP3/8/8/8/4K3 w - - 0 1",
        "4k3/8/8/3pP3/8/8/8/4K3 b - d6 0 1": "4k3/8/8/3pP3/8/8/8/4K3 b - - 0 1",
        "4k3/8/8/3pP3/8/8/8/4K3 w - d5 0 1": "4k3/8/8/3pP3/8/8/8/4K3 w - - 0 1",
        "4k3/8/8/3pP3/8/8/8/4K3 w - d1 0 1": "4k3/8/8/3pP3/8/8/8/4K3 w - - 0 1",
        "4k3/8/8/3pP3/8/8/8/4K3 w - d8 0 1": "4k3/8/8/3pP3/8/8/8/4K3 w - - 0 1",
        "4k3/8/8/3nP3/8/8/8/4K3 w - d6 0 1": "4k3/8/8/3nP3/8/8/8/4K3 w - - 0 1",
        "4k3/44/8/11111111/8/121121/8/4K3 w - - 00 01": "4k3/8/8/8/8/8/8/4K3 w - - 0 1",
        "4k3/8/8/8/8/8/8/4K3 W - - 150 0": "4k3/8/8/8/8/8/8/4K3 w - - 100 1",
        "4k3/8/8/8/8/8/8/4K3 B - - 999999999 999999999":
            "4k3/8/8/8/8/8/8/4K3 b - - 100 999999999",
    }
    return [line(f"position fen {fen}", after=after)
            for fen, after in (dict(zip(as_they_are, as_they_are)) | changed).items()]


def refused_positions() -> list[Case]:
    fens = [
        # The side that has moved stands in check.
        "8/8/8/3kK3/8/8/8/8 w - - 0 1", "8/8/8/3kK3/8/8/8/8 b - - 0 1",
        "8/8/4k3/3K4/8/8/8/8 w - - 0 1", "k7/1K6/8/8/8/8/8/8 b - - 0 1",
        "4k3/4R3/8/8/8/8/4r3/4K3 w - - 0 1", "4k3/4R3/8/8/8/8/4r3/4K3 b - - 0 1",
        "4k3/8/8/1B6/1b6/8/8/4K3 w - - 0 1", "4k3/8/8/1B6/1b6/8/8/4K3 b - - 0 1",
        "4k3/3P4/8/8/8/8/8/4K3 w - - 0 1", "4k3/8/8/8/8/8/5p2/4K3 b - - 0 1",
        "4k3/2N5/8/8/8/8/8/4K3 w - - 0 1", "4k3/8/8/8/8/3n4/8/4K3 b - - 0 1",
        "4k3/8/8/8/8/8/8/4K2q b - - 0 1", "4k2Q/8/8/8/8/8/8/4K3 w - - 0 1",
        "4k3/PPPPPPPP/PPPPPPPP/8/8/8/8/4K3 w - - 0 1",
        "kqqqqqqq/qqqqqqqq/qqqqqqqq/qqqqqqqq/qqqqqqqq/qqqqqqqq/qqqqqqqq/qqqqqqqK b - - 0 1",
        "QQQQQQQQ/QQQQQQQQ/QQQQkQQQ/QQQQQQQQ/QQQQQQQQ/QQQQQQQQ/QQQQQQQQ/KQQQQQQQ w - - 0 1",
        # Kings and pawns that cannot be.
        "8/8/8/8/8/8/8/8 w - - 0 1", "QQQQQQQQ/8/8/8/8/8/8/qqqqqqqq w - - 0 1",
        "kkkkkkkk/8/8/8/8/8/8/KKKKKKKK w - - 0 1", "k6k/8/8/8/8/8/8/K6K w - - 0 1",
        "k6k/8/8/8/8/8/8/K7 b - - 0 1", "4k3/8/8/8/8/8/8/8 b - - 0 1",
        "P3k3/8/8/8/8/8/8/4K3 w - - 0 1", "4k3/8/8/8/8/8/8/P3K3 w - - 0 1",
        "p3k3/8/8/8/8/8/8/4K3 b - - 0 1", "4k3/8/8/8/8/8/8/4K2p b - - 0 1",
        # Boards of another shape.
        "4k3/8/8/8/8/8/4K3 w - - 0 1", "4k3/8/8/8/8/8/8/8/4K3 w - - 0 1",
        "4k3/8/8/8/8/8/8/4K3/ w - - 0 1", "/4k3/8/8/8/8/8/8/4K3 w - - 0 1",
        "4k3//8/8/8/8/8/4K3 w - - 0 1", "4k4/8/8/8/8/8/8/4K3 w - - 0 1",
        "4k2/8/8/8/8/8/8/4K3 w - - 0 1", "4k3/8/8/8/8/8/8/4K30 w - - 0 1",
        "4k3/88/8/8/8/8/8/4K3 w - - 0 1", "4k3/8/8/8/8/8/8/4K3Q w - - 0 1",
        "4k3/64/8/8/8/8/8/4K3 w - - 0 1", "4k3/-8/8/8/8/8/8/4K3 w - - 0 1",
        "4k3\\8\\8\\8\\8\\8\\8\\4K3 w - - 0 1", "4k3|8|8|8|8|8|8|4K3 w - - 0 1",
        "4s3/8/8/8/8/8/8/4K3 w - - 0 1", "qqqqqqqqq/8/8/8/8/8/8/4K3 w - - 0 1",
        "/" * 64 + " w - - 0 1", "8" * 64 + " w - - 0 1", "k" * 64 + " w - - 0 1", "/ w - - 0 1",
        # Fields that say something else.
        "4k3/8/8/8/8/8/8/4K3", "4k3/8/8/8/8/8/8/4K3 w", "4k3/8/8/8/8/8/8/4K3 w -",
        "4k3/8/8/8/8/8/8/4K3 ww - - 0 1", "4k3/8/8/8/8/8/8/4K3 - - - 0 1",
        "4k3/8/8/8/8/8/8/4K3 0 - - 0 1", "4k3/8/8/8/8/8/8/4K3 w KQkqKQkq - 0 1",
        "4k3/8/8/8/8/8/8/4K3 w qq - 0 1", "4k3/8/8/8/8/8/8/4K3 w KQ-q - 0 1",
        "4k3/8/8/8/8/8/8/4K3 w AHah - 0 1", "4k3/8/8/8/8/8/8/4K3 w 0 - 0 1",
        "4k3/8/8/8/8/8/8/4K3 w - -- 0 1", "4k3/8/8/8/8/8/8/4K3 w - e0 0 1",
        "4k3/8/8/8/8/8/8/4K3 w - 6e 0 1", "4k3/8/8/8/8/8/8/4K3 w - e 6 0 1",
        "4k3/8/8/8/8/8/8/4K3 w - ee 0 1", "4k3/8/8/8/8/8/8/4K3 w - - - -",
        "4k3/8/8/8/8/8/8/4K3 w - - 0 -", "4k3/8/8/8/8/8/8/4K3 w - - e2e4 0",
        "4k3/8/8/8/8/8/8/4K3 w - - bm e1e2; id x",
    ]
    cases = []
    for fen in fens:
        cases.append(line(f"position fen {fen}", said(bad_fen(fen))))
    # The moves behind a refused position are not looked at, right or wrong.
    cases.append(line(f"position fen {fens[0]} moves e8g8", said(bad_fen(fens[0]))))
    cases.append(line(f"position fen {fens[0]} moves zz", said(bad_fen(fens[0]))))
    return cases


# --- moves ---

CASTLING = "r3k2r/8/8/8/8/8/8/R3K2R w KQkq - 0 1"
PROMOTION = "1n2k3/P7/8/8/8/8/6p1/4K2N w - - 0 1"


def moves_of_a_game() -> list[Case]:
    """A start, moves that can be played, and one that cannot: it ends the list."""
    refused = [
        # The wrong side, nobody, and no move at all.
        (START_FEN, "", "e7e5"), (START_FEN, "e2e4", "d2d4"), (START_FEN, "e2e4 e7e5", "d7d5"),
        (START_FEN, "", "0000"), (START_FEN, "e2e4", "0000"), (START_FEN, "", "e4e5"),
        (START_FEN, "", "e2e2"), (START_FEN, "e2e4", "e7e7"), (START_FEN, "", "a1a1"),
        (START_FEN, "", "(none)"), (START_FEN, "", "null"), (START_FEN, "", "--"),
        (START_FEN, "", "@@@@"), (START_FEN, "", "a0a1"), (START_FEN, "", "a9a8"),
        (START_FEN, "", "`2a3"), (START_FEN, "", "h2i3"), (START_FEN, "", "e2e4e7e5"),
        (START_FEN, "", "e2-e4"), (START_FEN, "", "e2xe4"), (START_FEN, "", "P@e4"),
        (START_FEN, "", "e2"), (START_FEN, "", "2e4e"), (START_FEN, "", "e2e4+"),
        (START_FEN, "", "e2e4n"), (START_FEN, "g1f3", "b8c6q"),
        # Promotions.
        (PROMOTION, "", "a7a8k"), (PROMOTION, "", "a7a8p"), (PROMOTION, "", "a7a8Q"),
        (PROMOTION, "", "a7a8=q"), (PROMOTION, "", "a7a8="), (PROMOTION, "", "a7a80"),
        (PROMOTION, "", "A7A8q"), (PROMOTION, "", "a7a9q"), (PROMOTION, "", "a7c8q"),
        (PROMOTION, "", "a8"), (PROMOTION, "", "a8q"), (PROMOTION, "", "b8a7q"),
        (PROMOTION, "", "g2g1q"), (PROMOTION, "a7a8q", "g2g1k"), (PROMOTION, "a7a8q", "g2g1Q"),
        (PROMOTION, "a7b8r", "g2f1q"), (PROMOTION, "", "e1e2q"), (PROMOTION, "", "a7b8k"),
        # Castling.
        (CASTLING, "", "e1h1"), (CASTLING, "", "e1a1"), (CASTLING, "", "O-O"),
        (CASTLING, "", "0-0"), (CASTLING, "", "o-o-o"), (CASTLING, "", "e1g1q"),
        (CASTLING, "", "e8g8"), (CASTLING, "", "g1e1"), (CASTLING, "", "e1b1"),
        (CASTLING, "", "h1e1"), (CASTLING, "h1g1 a8b8 g1h1 b8a8", "e1g1"),
        (CASTLING, "a1b1 h8g8 b1a1 g8h8 e1d1", "e8g8"), (CASTLING, "e1e2 e8e7 e2e1 e7e8", "e1c1"),
        (CASTLING, "a1a8", "e8c8"), (CASTLING, "h1h8", "e8g8"), (CASTLING, "e1g1", "e8g8"),
        (CASTLING, "e1g1 e8d7", "g1e1"), (CASTLING, "e1c1", "e8c8"),
        (CASTLING, "a1a7 a8b8 a7b7", "e8c8"), ("r3k2r/8/8/8/8/8/8/R3K2R w - - 0 1", "", "e1g1"),
        ("r3k2r/8/8/8/8/8/8/R3K2R w Q - 0 1", "", "e1g1"),
        ("4k3/8/8/8/8/8/4r3/R3K2R w KQ - 0 1", "", "e1g1"),
        ("4k3/8/8/8/8/8/8/RN2K1NR w KQ - 0 1", "", "e1c1"),
        ("4k3/8/8/8/8/8/p7/4K2R w K - 0 1", "h1h7 a2a1q", "e1g1"),
        # En passant.
        (START_FEN, "e2e4 a7a6 e4e5 d7d6", "e5f6"),
        (START_FEN, "e2e4 d7d5 e4e5 f7f6 a2a3 a7a6", "e5d6"),
        (START_FEN, "e2e4 a7a6 e4e5 f7f5 e5f6 g8f6", "f6e5"),
        (START_FEN, "e2e4 d7d5 e4e5 f7f5", "e5d6"),
        (START_FEN, "e2e4 a7a6 e4e5 d7d5", "e5d6q"),
        ("8/8/8/K2pP2r/8/8/8/4k3 w - d6 0 1", "", "e5d6"),
        ("4k3/8/8/3pP3/8/8/8/4K3 w - - 0 1", "", "e5d6"),
        # Out of a check, and into one.
        (START_FEN, "f2f3 e7e5 g2g4 d8h4", "a2a3"), (START_FEN, "e2e4 f7f6 d1h5", "a7a6"),
        ("4k3/8/8/8/8/3n1n2/8/4K3 w - - 0 1", "", "e1d2"),
        ("4k3/8/8/8/8/8/4r3/r3K3 w - - 0 1", "", "e1f1"),
        ("8/8/8/2k5/8/2K5/8/8 w - - 0 1", "", "c3c4"), (STALEMATED, "", "h8g8"),
        ("4k3/8/8/8/8/8/8/4K2r w - - 0 1", "", "e1d1"), (BASE, "e8g8 e1g1", "g8e8"),
    ]
    cases = []
    for fen, good, bad in refused:
        text = " ".join([*good.split(), bad, "e2e4", "e7e5"])
        cases.append(line(f"position fen {fen} moves {text}", said(illegal(bad)),
                          after=played(fen, *good.split())))
    accepted = [
        (PROMOTION, ["a7b8", "e8e7"], "1Q6/4k3/8/8/8/8/6p1/4K2N w - - 1 2"),
        (PROMOTION, ["a7b8n", "g2h1n"], "1N2k3/8/8/8/8/8/8/4K2n w - - 0 2"),
        (PROMOTION, ["a7a8bishop", "g2g1"], "Bn2k3/8/8/8/8/8/8/4K1qN w - - 0 2"),
        (CASTLING, ["a1a8", "e8e7", "h1h8"], "R6R/4k3/8/8/8/8/8/4K3 b - - 0 2"),
        (CASTLING, ["a1a8", "e8e7", "e1g1"], "R6r/4k3/8/8/8/8/8/5RK1 b - - 2 2"),
        ("4k3/8/8/8/8/8/8/4K3 b - - 100 999999999", ["e8d8"],
         "3k4/8/8/8/8/8/8/4K3 w - - 101 1000000000"),
    ]
    for fen, moves, after in accepted:
        cases.append(line(f"position fen {fen} moves {' '.join(moves)}", after=after))
    # 150 plies behind a clock of 100: it counts on, and nothing but a move of a pawn ends it.
    shuffle = 38 * ["e1d1", "e8d8", "d1e1", "d8e8"]
    fen = "4k3/8/8/8/8/8/4P3/4K3 w - - 100 50"
    cases.append(line(f"position fen {fen} moves {' '.join(shuffle)} e2e4",
                      name="a clock beyond 250", after="4k3/8/8/8/4P3/8/8/4K3 b - e3 0 126"))
    return cases


# --- roots without a move ---

def ends_of_games() -> list[Case]:
    cases = []
    for fen in (MATED, STALEMATED, "R5k1/5ppp/8/8/8/8/8/6K1 b - - 100 60",
                "k7/P7/K7/8/8/8/8/8 b - - 100 1"):
        for go in ("go", "go depth 1", "go depth 0", "go depth 128", "go nodes 1", "go movetime 1",
                   "go wtime 1 btime 1", "go infinite\nstop", "go infinite\ngo infinite\nstop"):
            answers = [Best(fen, 0)] * go.count("go")
            cases.append(line(go, *answers, before=fen, name=f"{go!r} in {fen}"))
        cases.append(line("perft 3", "", "Nodes searched: 0", before=fen, name=f"perft in {fen}"))
        cases.append(line("d", f"fen: {fen}", before=fen, name=f"d in {fen}"))
    for clock in (99, 100):  # drawn after the move, or already
        fen = f"4k3/8/8/8/8/8/R7/4K3 w - - {clock} 90"
        for go in ("go depth 3", "go nodes 1", "go movetime 1"):
            cases.append(line(go, Best(fen), before=fen, name=f"{go} at a clock of {clock}"))
    return cases


# --- in the middle of a search ---

def while_searching() -> list[Case]:
    best, best_of_start = Best(BASE), Best(START_FEN)
    block = grammar.IDENTIFICATION
    fen = "4k3/8/8/8/8/8/4P3/4K3 b - - 7 30"
    digits = MEGABYTE * "9"
    go_on = [  # what does not disturb it
        ("isready", ["readyok"]), ("isready\nisready\nisready", 3 * ["readyok"]), ("uci", block),
        ("d", [f"fen: {BASE}"]), ("d\nd", 2 * [f"fen: {BASE}"]), ("perft x", [said(PERFT_REFUSAL)]),
        ("perft 0", [said(PERFT_REFUSAL)]), ("", []), ("\0", []), ("xyzzy", []), ("Stop", []),
        ("stop\0", []), ("\xff\xfe", []), (MEGABYTE * "x", []), (1000 * "x\n", []),
        ("ponderhit", []), ("debug on", []), ("bestmove e2e4", []), ("setoption", []),
        ("setoption name Hash value x", [said(bad_value("hash", "x"))]),
        ("setoption name Hash value " + digits, [said(bad_value("hash", digits))]),
        ("setoption name Threads value 2147483648", [said(bad_value("threads", "2147483648"))]),
        ("setoption name Threads", [said(bad_value("threads", ""))]),
        ("setoption name Move Overhead value x", [said(bad_value("move overhead", "x"))]),
        ("setoption name Move Overhead value -5", []),
        ("setoption name Move Overhead value 5000", []),
        ("setoption name Move Overhead value 10", []), ("setoption name Ponder value true", []),
    ]
    cases = [Case(f"searching, then {text!r:.60}", encode(f"go infinite\n{text}\nstop\n"),
                  [*answers, best])
             for text, answers in go_on]
    game = " ".join(long_game(6000))
    stop = [  # what ends it, its own answers, and the position afterwards
        ("stop", [], None), ("stop\nstop\nstop", [], None), ("position startpos", [], START_FEN),
        (f"position fen {fen}", [], fen),
        ("position startpos moves " + game, [], played(START_FEN, *game.split())),
        ("position", [said(MISSING)], None), ("position x", [said(unknown("x"))], None),
        ("position fen", [said(EMPTY_FEN)], None), ("position fen x", [said(bad_fen("x"))], None),
        ("position fen 8/8/8/3kK3/8/8/8/8 w - -", [said(bad_fen("8/8/8/3kK3/8/8/8/8 w - -"))],
         None),
        ("position startpos moves e2e5", [said(illegal("e2e5"))], START_FEN),
        ("ucinewgame", [], START_FEN), ("ucinewgame\nucinewgame", [], START_FEN),
        ("setoption name Hash value 1\nsetoption name Hash value 4", [], None),
        ("setoption name Hash value 0\nsetoption name Hash value 4", [], None),
        ("setoption name Threads value 3\nsetoption name Threads value 1", [], None),
        ("setoption name Threads value -1", [], None), ("setoption name threads value 1", [], None),
        ("go depth 0", ["bestmove 0000"], None), ("go depth 2", [Best(BASE, 2)], None),
        ("go infinite\nstop", [best], None), ("go nodes 1", [best], None),
        ("go movetime 1", [best], None), ("go wtime 1 btime 1", [best], None),
        ("go depth x", ["bestmove 0000"], None),
        ("position startpos\ngo infinite\nstop", [best_of_start], START_FEN),
        (f"position fen {MATED}\ngo infinite\nstop", [Best(MATED, 0)], MATED),
        (f"position fen {QUEENS[0]} w - -\ngo infinite\nstop", [Best(f"{QUEENS[0]} w - - 0 1")],
         f"{QUEENS[0]} w - - 0 1"),
        ("benchsearch 1",
         10 * [re.compile(grammar.BENCH_POSITION)] + [re.compile(grammar.BENCH_TOTAL)], None),
    ]
    cases += [Case(f"searching, ended by {text!r:.60}", encode(f"go infinite\n{text}\n"),
                   [best, *answers], after=after)
              for text, answers, after in stop]
    return cases


def in_haste() -> list[Case]:
    """Commands without a pause, far faster than they can be served."""
    best = Best(BASE)
    start, other = Best(START_FEN), f"position fen {BASE}"
    threads = ("setoption name Threads value 4\n", "setoption name Threads value 1\n")
    return [
        Case("10,000 searches stopped at once", 10_000 * b"go\nstop\n", 10_000 * [best],
             repeat=False),
        Case("2,000 of them with 4 threads",
             encode(threads[0] + 2_000 * "go infinite\nstop\n" + threads[1]), 2_000 * [best],
             repeat=False),
        Case("2,000 searches, each ends the one before", 2_000 * b"go infinite\n" + b"stop\n",
             2_000 * [best], repeat=False),
        Case("500 with 4 threads, each ends the one before",
             encode(threads[0] + 500 * "go infinite\n" + threads[1]), 500 * [best], repeat=False),
        Case("two positions in turn",
             encode(300 * f"position startpos\ngo infinite\n{other}\ngo\n" + "stop\n"),
             300 * [start, best], repeat=False),
        Case("options between searches",
             encode(100 * ("go infinite\nsetoption name Hash value 1\n"
                           "go\nsetoption name Threads value 2\n"
                           "go infinite\nsetoption name Threads value 1\n"
                           "setoption name Hash value 4\n")), 300 * [best], repeat=False),
        Case("games between searches", encode(100 * f"go infinite\nucinewgame\n{other}\n"),
             100 * [best], repeat=False),
        Case("10,000 questions in a search", b"go infinite\n" + 10_000 * b"isready\n" + b"stop\n",
             10_000 * ["readyok"] + [best], repeat=False),
        Case("10,000 stops", 10_000 * b"stop\n"),
        Case("10,000 refused positions", 10_000 * b"position fen x\n",
             10_000 * [said(bad_fen("x"))], repeat=False),
        Case("10,000 refused values", 10_000 * b"setoption name Hash value -\n",
             10_000 * [said(bad_value("hash", "-"))], repeat=False),
        Case("1,000 searches of nothing", 1_000 * b"go depth 0\n", 1_000 * ["bestmove 0000"]),
    ]


SECTIONS = {
    "bytes_that_are_no_text": bytes_that_are_no_text(),
    "ends_of_lines": ends_of_lines(),
    "long_lines": long_lines(),
    "numbers_of_go": numbers_of_go(),
    "numbers_of_options": numbers_of_options(),
    "numbers_of_perft": numbers_of_perft(),
    "numbers_of_a_fen": numbers_of_a_fen(),
    "words_out_of_place": words_out_of_place(),
    "odd_positions": odd_positions(),
    "refused_positions": refused_positions(),
    "moves_of_a_game": moves_of_a_game(),
    "ends_of_games": ends_of_games(),
    "while_searching": while_searching(),
    "in_haste": in_haste(),
}

# --- ends of the input: each case is a whole input, and everything that is printed on it ---

ENDS: dict[bytes, list[Answer]] = {
    b"": [],
    b"\n": [],
    b"\x00": [],
    b"\xff": [],
    b"isread": [],
    b"isready": ["readyok"],
    b"isready\r": ["readyok"],
    b"isready\n\nisready\nisre": 2 * ["readyok"],
    b"qui": [],
    b"isready\nquit\nisready\n": ["readyok"],
    b"quitisready": [],
    b"d": [f"fen: {START_FEN}"],
    b"uc": [],
    b"uci\x00": [],
    b"positio": [],
    b"position": [said(MISSING)],
    b"position fe": [said(unknown("fe"))],
    b"position fen": [said(EMPTY_FEN)],
    b"position fen 4k3/8/8/8/8/8/8/4K3 w": [said(bad_fen("4k3/8/8/8/8/8/8/4K3 w"))],
    b"position startpos moves e2e": [said(illegal("e2e"))],
    b"position startpos moves e2e4\nd": [f"fen: {played(START_FEN, 'e2e4')}"],
    b"setoption name Hash va": [],
    b"setoption name Hash": [said(bad_value("hash", ""))],
    b"setoption name Threads value 4": [],
    b"perft": [re.compile(grammar.DIVIDE_MOVE)] * 20 + ["", "Nodes searched: 20"],
    b"perft -": [said(PERFT_REFUSAL)],
    b"g": [],
    b"go": [Best(START_FEN)],
    b"go depth 0": ["bestmove 0000"],
    b"go infinite": [Best(START_FEN)],
    b"go infinite\r": [Best(START_FEN)],
    b"go infinite\nsto": [Best(START_FEN)],
    b"go infinite\nstop": [Best(START_FEN)],
    b"go infinite\nquit": [Best(START_FEN)],
    b"go infinite\nqui": [Best(START_FEN)],
    b"go infinite\nposition startpos moves e2e4\ngo infinite":
        [Best(START_FEN), Best(played(START_FEN, "e2e4"))],
    b"setoption name Threads value 4\ngo infinite\nposition fe":
        [Best(START_FEN), said(unknown("fe"))],
    b"setoption name Threads value 4\ngo infinite\ngo infinite\nquit": 2 * [Best(START_FEN)],
    encode(f"position fen {QUEENS[0]} w - -\ngo infinite\n"): [Best(f"{QUEENS[0]} w - - 0 1")],
    encode(f"position fen {QUEENS[1]} b - -\ngo depth 50\nquit\n"):
        [Best(f"{QUEENS[1]} b - - 0 1")],
    MEGABYTE * b"x": [],
    MEGABYTE * b"\x00": [],
    b"isready" + MEGABYTE * b" ": ["readyok"],
    b"go infinite\n" + (LONGEST_LINE + 1) * b"x": [said(TOO_LONG), Best(START_FEN)],
    b"benchsearch 1": 10 * [re.compile(grammar.BENCH_POSITION)] + [re.compile(grammar.BENCH_TOTAL)],
}

# --- depths of the benchmark: None is the usual one ---

BENCH_DEPTHS = {
    "-1": None, "-2147483648": None, "-2147483649": None, "-9223372036854775809": None, "+": None,
    "depth 3": None, "\0": None, "½": None, "9" * 40: None, "2147483648": None, "1 2": 1, "+2": 2,
    "3.9": 3, "2e9": 2, "0x7": None,
}
