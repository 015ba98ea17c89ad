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
inline constexpr int kPSTMG[kPieces][kSquares] = {
    { // pawn
         -14,  -14,  -14,  -14,  -14,  -14,  -14,  -14,
         112,   99,   82,   45,   50,   13,   68,  105,
          21,   24,   25,   34,   36,   16,   23,   23,
          -9,   15,   14,   34,   38,   17,   27,  -10,
         -20,  -14,   -1,   20,   17,    8,   -6,  -20,
         -16,  -16,   -7,  -11,   -2,    3,    6,  -17,
         -33,  -27,  -35,  -28,  -30,    7,   -4,  -29,
         -14,  -14,  -14,  -14,  -14,  -14,  -14,  -14,
    },
    { // knight
        -137,  -82,  -70,  -54,  -51,  -71,  -76, -103,
         -42,  -14,   17,   14,   15,   22,  -11,  -34,
         -22,   22,   31,   53,   55,   36,   28,  -15,
          -8,   17,   29,   39,   33,   34,   11,    3,
         -10,    5,   21,   23,   27,   25,    5,   -5,
         -27,    0,    9,   19,   23,   15,    5,  -21,
         -40,  -24,   -4,    4,    6,    7,  -11,  -39,
         -68,  -34,  -28,  -17,  -17,  -20,  -30,  -72,
    },
    { // bishop
          -8,  -18,  -36,  -34,  -30,  -39,  -20,  -11,
         -11,   11,    2,   -4,   -4,    2,   10,   -9,
         -12,   13,   20,   20,   20,   17,   14,   -9,
          -5,    5,   12,   23,   23,   11,    7,   -6,
          -2,   -1,   13,   23,   22,   17,   -1,   -4,
           6,   18,   27,   21,   21,   28,   19,    6,
           7,   28,   18,   22,   22,   26,   32,    8,
          -3,    1,    2,    5,    7,   -1,    4,   -3,
    },
    { // rook
          35,   25,   24,   23,   22,   23,   26,   29,
          31,   22,   26,   28,   25,   24,   22,   30,
          20,   21,   19,   21,   18,   17,   16,   21,
          13,    7,   13,    8,    7,    9,    5,   12,
           2,   -7,   -1,   -7,   -9,   -6,   -9,    0,
         -18,  -11,  -14,  -17,  -14,  -16,  -11,  -15,
         -24,  -16,  -18,  -15,  -14,  -15,  -14,  -26,
          -6,   -3,   -2,    2,    2,    4,   -8,   -6,
    },
    { // queen
          16,   25,   44,   63,   74,   70,   49,   35,
          15,   33,   51,   69,   77,   72,   64,   49,
          20,   33,   49,   63,   70,   68,   55,   44,
           6,    2,   17,   31,   38,   36,   23,   27,
           4,   -3,   10,   18,   26,   18,   13,   11,
          -3,   13,   20,   18,   17,   21,   21,   10,
          -2,   14,   25,   23,   26,   20,   21,   11,
          -4,   -3,    4,   15,    3,   -6,   -3,   -5,
    },
    { // king
         131,  -39, -136,   40,  -11,  352,  399,  217,
         -22,  -13,  -18,  -29,  -24,   -4,    8,   -9,
         -39,  -35,  -51,  -76,  -78,  -57,  -38,  -49,
         -67,  -73,  -98, -135, -142, -120,  -89,  -89,
         -79,  -88, -111, -147, -154, -130,  -94,  -88,
         -51,  -49,  -69,  -98,  -99,  -77,  -39,  -48,
           1,    8,  -10,  -46,  -45,  -21,   15,    0,
          22,   53,   27,  -37,  -14,  -33,   38,   16,
    },
};

/// End-game placement of pawns.
inline constexpr int kPSTEGPawn[kSquares] = {
     -26,  -26,  -26,  -26,  -26,  -26,  -26,  -26,
     149,  150,  144,  151,  127,  168,  165,  138,
      35,   20,    9,   -6,  -12,   10,   18,   28,
       1,   -5,  -14,  -30,  -29,  -18,   -6,   -3,
     -17,  -16,  -22,  -30,  -31,  -25,  -19,  -18,
     -28,  -22,  -25,  -38,  -35,  -30,  -31,  -29,
     -22,  -21,   -9,  -46,  -44,  -26,  -32,  -26,
     -26,  -26,  -26,  -26,  -26,  -26,  -26,  -26,
};

/// End-game placement of kings.
inline constexpr int kKingEG[kSquares] = {
    -130,  -29,    0,   -5,  -23,  -38,  -47,  -85,
     -10,   51,   59,   47,   41,   52,   55,    9,
      15,   57,   66,   67,   70,   58,   66,   26,
       2,   42,   55,   52,   52,   52,   55,   13,
     -10,   31,   47,   46,   48,   46,   45,    6,
     -22,   15,   27,   21,   24,   23,   19,   -9,
     -43,  -23,  -12,  -15,  -13,  -15,  -21,  -37,
     -72,  -85,  -49,  -36,  -52,  -46,  -71,  -99,
};

/// What end-game placement adds to the middle-game table, by piece and square. It is zero in the
/// built-in weights; it exists so that a fit may tell the two phases apart.
inline constexpr int kPstEgDelta[kPieces][kSquares] = {};

// clang-format on

} // namespace EvalParams
