#pragma once

#include "board/board.h"

#include <algorithm>
#include <cstdint>
#include <cstdlib>
#include <iterator>
#include <string>

/// What a board keeps more than once, computed again from nothing but `pieces` and the state of the
/// game, and the comparison of two boards. The results are texts that name the fields at fault and
/// are empty if there is none: tests expect "".
namespace BoardChecks {

namespace Detail {

template <class Value>
void note(std::string& text, const char* field, const Value& found, const Value& wanted) {
    if (found != wanted)
        text += std::string(text.empty() ? "" : ", ") + field;
}

inline bool sameRecord(const UndoInfo& a, const UndoInfo& b) {
    return a.key == b.key && a.epSquare == b.epSquare && a.castling == b.castling &&
           a.halfmoveClock == b.halfmoveClock && a.captured == b.captured &&
           a.pawnKey == b.pawnKey && a.psq == b.psq && a.nonPawnHash[0] == b.nonPawnHash[0] &&
           a.nonPawnHash[1] == b.nonPawnHash[1] && a.nonPawnMaterial[0] == b.nonPawnMaterial[0] &&
           a.nonPawnMaterial[1] == b.nonPawnMaterial[1] && a.phase == b.phase;
}

} // namespace Detail

/// The hash of one side's pieces without pawns, from all of them at once.
inline std::uint32_t nonPawnHashAtOnce(const Board& board, Color c) {
    const Bitboard(&p)[kPieces] = board.pieces[c];
    const std::uint64_t mixed =
        (p[Knight] * 0x9E3779B97F4A7C15ULL) ^ (p[Bishop] * 0xC2B2AE3D27D4EB4FULL) ^
        (p[Rook] * 0x165667B19E3779F9ULL) ^ (p[Queen] * 0xD6E8FEB86659FD93ULL) ^
        (p[King] * 0xFF51AFD7ED558CCDULL);
    return static_cast<std::uint32_t>(mixed >> 50);
}

/// Names of the fields in which two boards differ. Records of moves that were taken back are left
/// over in the history and mean nothing; they are not compared.
inline std::string differences(const Board& a, const Board& b) {
    using Detail::note;
    std::string text;
    for (const Color c : {White, Black})
        for (int piece = Pawn; piece <= King; ++piece)
            note(text, "pieces", a.pieces[c][piece], b.pieces[c][piece]);
    note(text, "colorBB[White]", a.colorBB[White], b.colorBB[White]);
    note(text, "colorBB[Black]", a.colorBB[Black], b.colorBB[Black]);
    note(text, "occupied", a.occupied, b.occupied);
    for (Square sq = 0; sq < kSquares; ++sq)
        note(text, "mailbox", a.mailbox[sq], b.mailbox[sq]);
    note(text, "sideToMove", a.sideToMove, b.sideToMove);
    note(text, "epSquare", a.epSquare, b.epSquare);
    note(text, "castling", a.castling, b.castling);
    note(text, "halfmoveClock", a.halfmoveClock, b.halfmoveClock);
    note(text, "fullmoveNumber", a.fullmoveNumber, b.fullmoveNumber);
    note(text, "key", a.key, b.key);
    note(text, "pawnKey", a.pawnKey, b.pawnKey);
    note(text, "nonPawnHash[White]", a.nonPawnHash[White], b.nonPawnHash[White]);
    note(text, "nonPawnHash[Black]", a.nonPawnHash[Black], b.nonPawnHash[Black]);
    note(text, "psq", a.psq, b.psq);
    note(text, "nonPawnMaterial[White]", a.nonPawnMaterial[White], b.nonPawnMaterial[White]);
    note(text, "nonPawnMaterial[Black]", a.nonPawnMaterial[Black], b.nonPawnMaterial[Black]);
    note(text, "phase", a.phase, b.phase);
    note(text, "historyCount", a.historyCount, b.historyCount);
    for (int i = 0; i < a.historyCount && i < b.historyCount; ++i)
        note(text, "history", Detail::sameRecord(a.history[i], b.history[i]), true);
    return text;
}

/// Names of the redundant fields of a board that are not what the rest of the board says.
inline std::string inconsistencies(const Board& board) {
    using Detail::note;
    Bitboard colors[kColors] = {};
    Piece mailbox[kSquares];
    std::fill(std::begin(mailbox), std::end(mailbox), kNoPiece);
    std::uint64_t key = board.sideToMove == Black ? Zobrist::sideToMove : 0;
    std::uint64_t pawnKey = 0;
    int mg = 0;
    int eg = 0;
    int material[kColors] = {};
    int phase = 0;
    int squares = 0;
    for (const Color c : {White, Black})
        for (int piece = Pawn; piece <= King; ++piece)
            for (Bitboard set = board.pieces[c][piece]; set;) {
                const Square sq = popLowest(set);
                ++squares;
                colors[c] |= bit(sq);
                mailbox[sq] = static_cast<Piece>(piece);
                key ^= Zobrist::pieceSquare[c][piece][sq];
                pawnKey ^= piece == Pawn ? Zobrist::pieceSquare[c][Pawn][sq] : 0;
                mg += unpackPair(kPsq[c][piece][sq]).mg;
                eg += unpackPair(kPsq[c][piece][sq]).eg;
                material[c] += kNonPawnValue[piece];
                phase += EvalParams::kPhaseWeight[piece];
            }
    key ^= Zobrist::castling[board.castling];
    if (board.epSquare != kNoSquare)
        key ^= Zobrist::enPassant[fileOf(static_cast<Square>(board.epSquare))];

    std::string text;
    note(text, "pieces (two on one square)", squares, popcount(colors[White] | colors[Black]));
    note(text, "colorBB[White]", board.colorBB[White], colors[White]);
    note(text, "colorBB[Black]", board.colorBB[Black], colors[Black]);
    note(text, "occupied", board.occupied, colors[White] | colors[Black]);
    for (Square sq = 0; sq < kSquares; ++sq)
        note(text, "mailbox", board.mailbox[sq], mailbox[sq]);
    note(text, "key", board.key, key);
    note(text, "pawnKey", board.pawnKey, pawnKey);
    note(text, "computePawnKey", board.computePawnKey(), pawnKey);
    for (const Color c : {White, Black})
        note(text, c == White ? "nonPawnHash[White]" : "nonPawnHash[Black]",
             std::uint32_t{board.nonPawnHash[c]}, nonPawnHashAtOnce(board, c));
    note(text, "psq", board.psq, packPair(mg, eg));
    note(text, "nonPawnMaterial[White]", board.nonPawnMaterial[White], material[White]);
    note(text, "nonPawnMaterial[Black]", board.nonPawnMaterial[Black], material[Black]);
    note(text, "phase", board.phase, phase);
    return text;
}

/// Whether the piece on `from`, of the given kind, attacks `to`, found without the attack tables.
inline bool attacksByWalking(Color c, Piece piece, Square from, Square to, Bitboard occupancy) {
    const int files = fileOf(to) - fileOf(from);
    const int ranks = rankOf(to) - rankOf(from);
    const int far = std::max(std::abs(files), std::abs(ranks));
    const bool straight = files == 0 || ranks == 0;
    const bool diagonal = std::abs(files) == std::abs(ranks);
    if (far == 0)
        return false;
    switch (piece) {
    case Pawn:
        return std::abs(files) == 1 && ranks == (c == White ? 1 : -1);
    case Knight:
        return std::abs(files * ranks) == 2;
    case King:
        return far == 1;
    case Bishop:
    case Rook:
    case Queen:
        if (!(piece != Bishop && straight) && !(piece != Rook && diagonal))
            return false;
        for (int step = 1; step < far; ++step)
            if (occupancy & bit(makeSquare(fileOf(from) + files / far * step,
                                           rankOf(from) + ranks / far * step)))
                return false;
        return true;
    default:
        return false;
    }
}

/// The pieces of both colours that attack `to`, found without the attack tables.
inline Bitboard attackersByWalking(const Board& board, Square to, Bitboard occupancy) {
    Bitboard attackers = 0;
    for (const Color c : {White, Black})
        for (int piece = Pawn; piece <= King; ++piece)
            for (Bitboard set = board.pieces[c][piece]; set;) {
                const Square from = popLowest(set);
                if (attacksByWalking(c, static_cast<Piece>(piece), from, to, occupancy))
                    attackers |= bit(from);
            }
    return attackers;
}

} // namespace BoardChecks
