#pragma once

// Written by tuning/fit, from games; nobody edits it by hand.

/// Placement values by square, in centipawns. Every table is read from White's side in the order of
/// a printed board: the first row is the eighth rank, the first column the a file, so entry 0 is a8
/// and entry 63 is h1. A White piece on square s reads entry s ^ 56, a Black piece entry s.
///
/// The first and eighth rank of the pawn tables are never read for a pawn on the board.
namespace EvalParams {

// clang-format off

/// Middle-game placement by piece, pawn to king. Knights, bishops, rooks and queens use it in the
/// end game as well, plus `kPstEgDelta`.
inline constexpr int kPSTMG[6][64] = {
    { // pawn
         -14,  -14,  -14,  -14,  -14,  -14,  -14,  -14,
         112,   99,   82,   45,   50,   13,   68,  105,
          26,   30,   29,   29,   32,   17,   28,   28,
         -12,    6,    6,   27,   30,   11,   14,  -14,
         -22,  -16,   -3,   15,   13,    3,   -8,  -23,
         -20,  -17,  -15,  -13,   -9,   -1,    1,  -21,
         -33,  -27,  -35,  -28,  -30,    7,   -4,  -29,
         -14,  -14,  -14,  -14,  -14,  -14,  -14,  -14,
    },
    { // knight
        -137,  -57,  -37,  -27,  -27,  -39,  -53,  -96,
         -36,   -4,   15,   22,   22,   23,    0,  -31,
         -17,   16,   30,   45,   47,   38,   22,  -11,
          -9,   11,   30,   39,   33,   35,    9,    0,
         -15,    7,   18,   25,   26,   21,    7,   -9,
         -32,   -3,   10,   17,   19,   12,   -1,  -27,
         -49,  -23,   -6,    4,    4,    1,  -16,  -48,
         -68,  -30,  -26,  -20,  -17,  -17,  -28,  -83,
    },
    { // bishop
         -12,   -5,   -7,   -8,   -7,  -10,   -5,  -16,
         -11,   11,    9,    4,    5,    7,    7,  -12,
          -1,   17,   21,   18,   19,   22,   18,    0,
           1,   11,   17,   22,   22,   15,   12,   -3,
           1,   11,   16,   24,   21,   16,   10,   -1,
           4,   18,   23,   20,   20,   22,   18,    2,
           1,   24,   14,   15,   17,   17,   27,    1,
         -10,   -1,   -2,    1,    0,   -4,    0,  -11,
    },
    { // rook
          30,   27,   27,   26,   25,   27,   28,   28,
          37,   35,   37,   38,   37,   35,   34,   37,
          23,   25,   24,   28,   26,   24,   22,   21,
          12,   12,   14,   13,   12,   12,    8,    6,
          -4,   -2,   -1,   -5,   -6,   -7,   -7,   -7,
         -25,  -18,  -16,  -16,  -17,  -20,  -21,  -25,
         -31,  -26,  -24,  -18,  -18,  -22,  -27,  -33,
         -10,   -9,   -4,    5,    5,    3,  -17,  -12,
    },
    { // queen
          -5,    0,   12,   21,   23,   26,   25,   20,
          -3,    1,   13,   21,   25,   32,   32,   26,
           6,   12,   20,   27,   36,   41,   35,   26,
          -8,   -7,    0,    6,   16,   17,    8,    5,
         -10,  -13,   -8,   -2,    2,    0,   -5,   -4,
         -14,   -6,   -1,   -3,   -4,   -1,   -1,   -6,
         -17,   -9,    4,    3,    6,   -2,   -1,   -6,
         -21,  -25,  -15,    1,  -13,  -25,  -21,  -23,
    },
    { // king
         131,  -39, -136,   40,  -11,  352,  399,  217,
         -18,  -18,  -27,  -36,  -35,  -26,  -15,  -17,
         -28,  -29,  -39,  -49,  -48,  -39,  -26,  -28,
         -35,  -37,  -47,  -60,  -59,  -51,  -35,  -37,
         -32,  -34,  -45,  -59,  -60,  -51,  -33,  -35,
         -16,  -17,  -31,  -53,  -55,  -40,  -17,  -20,
          10,   17,   -4,  -39,  -36,  -21,   18,    8,
          22,   53,   27,  -37,  -14,  -33,   38,   16,
    },
};

/// End-game placement of pawns.
inline constexpr int kPSTEGPawn[64] = {
     -26,  -26,  -26,  -26,  -26,  -26,  -26,  -26,
     149,  150,  144,  151,  127,  168,  165,  138,
      69,   59,   55,   43,   36,   59,   64,   65,
      22,   19,   13,   -3,   -3,   10,   16,   18,
      -5,   -4,   -8,  -19,  -19,  -12,   -7,   -7,
     -17,  -13,  -13,  -31,  -28,  -20,  -20,  -18,
     -22,  -21,   -9,  -46,  -44,  -26,  -32,  -26,
     -26,  -26,  -26,  -26,  -26,  -26,  -26,  -26,
};

/// End-game placement of kings.
inline constexpr int kKingEG[64] = {
    -130,  -62,  -35,  -22,  -20,  -24,  -38,  -85,
     -19,   29,   39,   39,   43,   54,   47,    2,
      11,   50,   65,   67,   70,   66,   64,   19,
      -6,   34,   50,   47,   50,   55,   47,   -1,
     -25,   14,   30,   32,   35,   33,   23,  -20,
     -39,   -6,    9,   12,   15,    8,   -3,  -32,
     -56,  -35,  -21,  -15,  -11,  -19,  -31,  -47,
     -72,  -85,  -49,  -36,  -52,  -46,  -71,  -99,
};

/// What end-game placement adds to the middle-game table, by piece and square. It is zero in the
/// built-in weights; it exists so that a fit may tell the two phases apart.
inline constexpr int kPstEgDelta[6][64] = {};

// clang-format on

} // namespace EvalParams
