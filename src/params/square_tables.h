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
          37,   43,   42,   40,   43,   27,   40,   35,
         -11,    4,    9,   22,   26,   14,   12,  -11,
         -23,   -8,   -3,   10,   14,    2,    0,  -23,
         -27,  -18,  -20,  -11,  -10,    2,   -5,  -26,
         -33,  -27,  -35,  -28,  -30,    7,   -4,  -29,
         -14,  -14,  -14,  -14,  -14,  -14,  -14,  -14,
    },
    { // knight
        -137,  -59,  -40,  -31,  -31,  -38,  -55, -102,
         -42,  -11,    8,   17,   17,   10,   -7,  -36,
         -25,    6,   25,   34,   34,   27,   10,  -19,
         -24,    7,   26,   39,   33,   28,   11,  -18,
         -34,   -3,   16,   25,   25,   18,    1,  -28,
         -44,  -13,    6,   15,   15,    8,   -9,  -38,
         -59,  -28,   -9,    0,    0,   -7,  -24,  -53,
         -68,  -43,  -24,  -15,  -15,  -22,  -39,  -86,
    },
    { // bishop
         -20,  -10,  -10,  -11,  -11,  -10,   -9,  -20,
         -12,    2,    2,    1,    1,    2,    3,  -12,
           1,   15,   19,   18,   18,   19,   16,    1,
           1,   15,   19,   22,   22,   19,   16,    1,
           1,   15,   19,   22,   22,   19,   16,    1,
           2,   16,   20,   19,   19,   20,   17,    2,
           0,   23,   14,   13,   13,   14,   24,    0,
         -10,    0,   -6,   -1,   -1,   -6,    1,  -10,
    },
    { // rook
          25,   27,   29,   32,   33,   31,   28,   26,
          32,   34,   36,   39,   40,   38,   35,   33,
          10,   12,   14,   17,   18,   16,   13,   11,
          -8,   -6,   -4,   -1,    0,   -2,   -5,   -7,
         -19,  -17,  -15,  -12,  -11,  -13,  -16,  -18,
         -32,  -27,  -21,  -15,  -14,  -18,  -24,  -31,
         -34,  -29,  -23,  -17,  -16,  -20,  -26,  -33,
         -17,  -12,   -6,    7,    8,    4,  -21,  -16,
    },
    { // queen
          -7,   -2,    4,    9,   13,   19,   24,   23,
          -9,   -5,    1,    5,    8,   14,   18,   17,
           1,    4,    9,   13,   16,   21,   24,   23,
         -10,   -7,   -2,    1,    3,    7,   11,   10,
         -11,   -9,   -5,   -2,    0,    3,    6,    5,
         -11,   -8,   -6,   -3,   -2,    1,    3,    3,
          -9,   -7,    2,    3,    5,    0,    2,    1,
         -16,  -18,  -11,    1,   -9,  -15,  -16,  -22,
    },
    { // king
         131,  -39, -136,   40,  -11,  352,  399,  217,
         -18,  -21,  -30,  -37,  -37,  -31,  -20,  -19,
         -28,  -31,  -40,  -47,  -47,  -41,  -30,  -29,
         -34,  -38,  -48,  -57,  -57,  -50,  -37,  -36,
         -29,  -34,  -45,  -54,  -54,  -46,  -32,  -30,
         -12,  -18,  -32,  -44,  -44,  -34,  -16,  -14,
          12,   16,   -4,  -34,  -28,  -24,   14,    9,
          22,   53,   27,  -37,  -14,  -33,   38,   16,
    },
};

/// End-game placement of pawns.
inline constexpr int kPSTEGPawn[64] = {
     -26,  -26,  -26,  -26,  -26,  -26,  -26,  -26,
     149,  150,  144,  151,  127,  168,  165,  138,
      92,   90,   84,   74,   69,   84,   90,   87,
      22,   19,   14,    2,    2,   10,   17,   19,
      -4,   -6,  -10,  -20,  -20,  -14,   -8,   -6,
     -17,  -17,  -15,  -33,  -33,  -23,  -22,  -19,
     -22,  -21,   -9,  -46,  -44,  -26,  -32,  -26,
     -26,  -26,  -26,  -26,  -26,  -26,  -26,  -26,
};

/// End-game placement of kings.
inline constexpr int kKingEG[64] = {
    -130,  -66,  -40,  -25,  -22,  -17,  -38,  -85,
     -22,   14,   25,   30,   33,   38,   24,   -8,
       9,   37,   56,   67,   70,   62,   41,   11,
      -4,   28,   48,   59,   60,   52,   31,   -2,
     -20,    9,   32,   45,   46,   35,   13,  -16,
     -34,  -11,    9,   22,   23,   13,   -6,  -29,
     -50,  -33,  -16,   -4,   -2,  -10,  -27,  -46,
     -72,  -85,  -49,  -36,  -52,  -46,  -71,  -99,
};

/// What end-game placement adds to the middle-game table, by piece and square. It is zero in the
/// built-in weights; it exists so that a fit may tell the two phases apart.
inline constexpr int kPstEgDelta[6][64] = {};

// clang-format on

} // namespace EvalParams
