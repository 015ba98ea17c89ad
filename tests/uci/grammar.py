"""What a line of the engine's standard output may look like, and nothing else."""

import re

MOVE = r"[a-h][1-8][a-h][1-8][nbrq]?"
SCORE = r"(?:cp -?\d+|mate -?\d+)"
FEN = (
    r"(?:[1-8pnbrqkPNBRQK]+/){7}[1-8pnbrqkPNBRQK]+ [wb] (?:-|K?Q?k?q?)"
    r" (?:-|[a-h][36]) \d+ \d+"
)
SPEED = r"nps \d+ time \d+"  # in this alone a search differs from the same search again
EFFORT = rf"nodes \d+ {SPEED}"

ITERATION = rf"info depth \d+ seldepth \d+ score {SCORE} {EFFORT} pv {MOVE}(?: {MOVE})*"
PROGRESS = rf"info depth \d+ seldepth \d+ {EFFORT}"
NO_MOVES = r"info depth 0 score (?:mate 0|cp 0)"
BEST_MOVE = rf"bestmove (?:0000|{MOVE})"
DIVIDE_MOVE = rf"{MOVE}: \d+"
DIVIDE_TOTAL = r"Nodes searched: \d+"
BENCH_POSITION = (
    rf"pos (\d+) depth (\d+) bestmove ({MOVE}) score ({SCORE}) nodes (\d+) qnodes (\d+)"
    rf" time (\d+) nps (\d+) pv ({MOVE}(?: {MOVE})*)"
)
BENCH_TOTAL = r"bench: (\d+) nodes (\d+) qnodes (\d+) ms (\d+) nps"

IDENTIFICATION = [
    "id name Morvane 0.11.0",
    "id author the Morvane developers",
    "option name Hash type spin default 64 min 1 max 65536",
    "option name Threads type spin default 1 min 1 max 256",
    "option name Move Overhead type spin default 10 min 0 max 5000",
    "uciok",
]

LINE = re.compile(
    "|".join(
        [re.escape(line) for line in IDENTIFICATION]
        + ["readyok", r"info string [^\n]+", rf"fen: {FEN}", ""]
        + [ITERATION, PROGRESS, NO_MOVES, BEST_MOVE, DIVIDE_MOVE, DIVIDE_TOTAL]
        + [BENCH_POSITION, BENCH_TOTAL]
    )
)


def is_protocol(line: str) -> bool:
    """Whether a line, without its line feed, may be printed by the engine as a UCI engine."""
    return LINE.fullmatch(line) is not None


def is_search_line(line: str) -> bool:
    return re.fullmatch(f"{ITERATION}|{PROGRESS}|{NO_MOVES}", line) is not None
