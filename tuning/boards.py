"""Draws a placement table as a board."""

from __future__ import annotations

import matplotlib.pyplot as plt
import numpy as np

TABLES = (
    ("pawn, middle game", "pstMg_P_"), ("pawn, end game", "pawnEg_"),
    ("knight", "pstMg_N_"), ("bishop", "pstMg_B_"),
    ("rook", "pstMg_R_"), ("queen", "pstMg_Q_"),
    ("king, middle game", "pstMg_K_"), ("king, end game", "kingEg_"),
)


def draw(axes: plt.Axes, cells: np.ndarray, strongest: float, title: str) -> None:
    """Green above 0, red below, in full colour from `strongest` on."""
    axes.imshow(cells, cmap="RdYlGn", vmin=-strongest, vmax=strongest, alpha=0.8)
    for (row, column), cell in np.ndenumerate(cells):
        axes.text(column, row, str(cell), ha="center", va="center", fontsize=6.5)
    axes.set_title(title, fontsize=9)
    axes.set_xticks(range(8), "abcdefgh", fontsize=6)
    axes.set_yticks(range(8), "87654321", fontsize=6)
    axes.tick_params(length=0)
    axes.grid(False)
    for spine in axes.spines.values():
        spine.set_visible(False)
