"""Writes the source file of the placement tables from a listing of weights."""

from __future__ import annotations

import numpy as np
from listing import Listing

PIECES = {"P": "pawn", "N": "knight", "B": "bishop", "R": "rook", "Q": "queen", "K": "king"}

HEADER = """\
#pragma once

#include "base/chess.h"

// Written by tuning/fit, from games; nobody edits it by hand.

/// Placement values by square, in centipawns. Every table is read from White's side in the order of
/// a printed board: the first row is the eighth rank, the first column the a file, so entry 0 is a8
/// and entry 63 is h1. `placementCell` (weights.h) says which entry a piece reads.
///
/// The first and eighth rank of the pawn tables are never read for a pawn on the board.
namespace EvalParams {

// clang-format off

/// Middle-game placement by piece, pawn to king. Knights, bishops, rooks and queens use it in the
/// end game as well, plus `kPstEgDelta`.
"""

DELTA = """\
/// What end-game placement adds to the middle-game table, by piece and square. It is zero in the
/// built-in weights; it exists so that a fit may tell the two phases apart.
"""


def rows(cells: np.ndarray, indent: str) -> str:
    """Eight ranks of eight numbers."""
    return "".join(indent + ", ".join(f"{cell:4}" for cell in rank) + ",\n"
                   for rank in cells.reshape(8, 8))


def by_piece(listing: Listing, block: str) -> str:
    return "".join(f"    {{ // {piece}\n{rows(listing.block(f'{block}_{letter}_', 64), ' ' * 8)}    }},\n"
                   for letter, piece in PIECES.items())


def one(name: str, meaning: str, cells: np.ndarray) -> str:
    return (f"/// {meaning}\ninline constexpr int {name}[kSquares] = {{\n{rows(cells, ' ' * 4)}}};\n")


def source(listing: Listing) -> str:
    """The whole text of the file."""
    delta = "{}"
    if any(listing.block(f"pstEgDelta_{letter}_", 64).any() for letter in PIECES):
        delta = f"{{\n{by_piece(listing, 'pstEgDelta')}}}"
    return (f"{HEADER}inline constexpr int kPSTMG[kPieces][kSquares] = {{\n{by_piece(listing, 'pstMg')}}};\n\n"
            + one("kPSTEGPawn", "End-game placement of pawns.", listing.block("pawnEg_", 64)) + "\n"
            + one("kKingEG", "End-game placement of kings.", listing.block("kingEg_", 64)) + "\n"
            + DELTA + f"inline constexpr int kPstEgDelta[kPieces][kSquares] = {delta};\n\n"
            "// clang-format on\n\n} // namespace EvalParams\n")
