#include "base/text.h"
#include "board/board.h"

#include <algorithm>
#include <array>
#include <cassert>

namespace {

constexpr std::string_view kCastlingLetters = "KQkq"; // in the order of the rights' bits
constexpr int kMaxCounterDigits = 9;
constexpr int kMaxHalfmoveClock = 100;

struct PlacedPiece {
    Color color;
    Piece piece;
    Square square;
};

/// A FEN read but not yet set up.
struct ParsedFen {
    PlacedPiece pieces[kSquares];
    int pieceCount = 0;
    Color side = White;
    std::uint8_t castling = 0;
    Square epSquare = kNoSquare;
    int halfmoveClock = 0;
    int fullmoveNumber = 1;
};

/// Takes the next field off the front of `text`; empty when there is none.
std::string_view nextField(std::string_view& text) {
    std::size_t begin = 0;
    while (begin < text.size() && isWhiteSpace(text[begin]))
        ++begin;
    std::size_t end = begin;
    while (end < text.size() && !isWhiteSpace(text[end]))
        ++end;
    const std::string_view field = text.substr(begin, end - begin);
    text.remove_prefix(end);
    return field;
}

/// The piece that a letter of either case means; `kNoPiece` for other characters.
constexpr auto kPieceOf = [] {
    std::array<Piece, 256> table{};
    table.fill(kNoPiece);
    for (std::size_t i = 0; i < kPieceLetters.size(); ++i)
        for (const char c : {kPieceLetters[i], static_cast<char>(kPieceLetters[i] - 'a' + 'A')})
            table[static_cast<unsigned char>(c)] = static_cast<Piece>(i);
    return table;
}();

bool parsePlacement(std::string_view field, ParsedFen& out) {
    int rank = Rank8;
    int file = FileA;
    for (const char c : field) {
        if (c == '/') {
            if (file != kFiles || rank == Rank1)
                return false;
            --rank;
            file = FileA;
        } else if (c >= '1' && c <= '8') {
            file += c - '0';
            if (file > kFiles)
                return false;
        } else {
            const Piece piece = kPieceOf[static_cast<unsigned char>(c)];
            if (file >= kFiles || piece == kNoPiece)
                return false;
            out.pieces[out.pieceCount++] = {isUpper(c) ? White : Black, piece,
                                            makeSquare(file, rank)};
            ++file;
        }
    }
    return rank == Rank1 && file == kFiles;
}

bool parseSide(std::string_view field, ParsedFen& out) {
    if (field == "w" || field == "W")
        out.side = White;
    else if (field == "b" || field == "B")
        out.side = Black;
    else
        return false;
    return true;
}

bool parseCastling(std::string_view field, ParsedFen& out) {
    if (field == "-")
        return true;
    if (field.empty() || field.size() > kCastlingLetters.size())
        return false;
    for (const char c : field) {
        const std::size_t letter = kCastlingLetters.find(c);
        if (letter == std::string_view::npos || (out.castling & (1 << letter)))
            return false;
        out.castling |= static_cast<std::uint8_t>(1 << letter);
    }
    return true;
}

bool parseEnPassant(std::string_view field, ParsedFen& out) {
    if (field == "-")
        return true;
    if (field.size() != 2 || field[0] < 'a' || field[0] > 'h' || field[1] < '1' || field[1] > '8')
        return false;
    out.epSquare = makeSquare(field[0] - 'a', field[1] - '1');
    return true;
}

bool parseCounter(std::string_view field, int& out) {
    if (field.empty() || field.size() > kMaxCounterDigits)
        return false;
    int value = 0;
    for (const char c : field) {
        if (c < '0' || c > '9')
            return false;
        value = value * 10 + (c - '0');
    }
    out = value;
    return true;
}

bool parseCounters(std::string_view text, ParsedFen& out) {
    const std::string_view clock = nextField(text);
    const std::string_view number = nextField(text);
    if (!clock.empty() && !parseCounter(clock, out.halfmoveClock))
        return false;
    if (!number.empty() && !parseCounter(number, out.fullmoveNumber))
        return false;
    out.halfmoveClock = std::min(out.halfmoveClock, kMaxHalfmoveClock);
    out.fullmoveNumber = std::max(out.fullmoveNumber, 1);
    return true;
}

/// One king a side, and no pawn on the first or eighth rank.
bool placementIsPlayable(const ParsedFen& parsed) {
    int kings[kColors] = {};
    for (int i = 0; i < parsed.pieceCount; ++i) {
        const auto& [color, piece, square] = parsed.pieces[i];
        if (piece == King)
            ++kings[color];
        if (piece == Pawn && (rankOf(square) == Rank1 || rankOf(square) == Rank8))
            return false;
    }
    return kings[White] == 1 && kings[Black] == 1;
}

bool parseFen(std::string_view fen, ParsedFen& out) {
    const std::string_view placement = nextField(fen);
    const std::string_view side = nextField(fen);
    const std::string_view castling = nextField(fen);
    const std::string_view enPassant = nextField(fen);
    return parsePlacement(placement, out) && parseSide(side, out) && parseCastling(castling, out) &&
           parseEnPassant(enPassant, out) && parseCounters(fen, out) && placementIsPlayable(out);
}

/// The claimed rights whose king and rook stand at home.
std::uint8_t possibleRights(const Board& board, std::uint8_t claimed) {
    struct Right {
        std::uint8_t right;
        Color color;
        Square king;
        Square rook;
    };
    constexpr Right kRights[] = {{WhiteKingSide, White, E1, H1},
                                 {WhiteQueenSide, White, E1, A1},
                                 {BlackKingSide, Black, E8, H8},
                                 {BlackQueenSide, Black, E8, A8}};
    std::uint8_t rights = 0;
    for (const auto& [right, color, king, rook] : kRights)
        if ((claimed & right) && (board.pieces[color][King] & bit(king)) &&
            (board.pieces[color][Rook] & bit(rook)))
            rights |= right;
    return rights;
}

/// Whether a pawn of the side not to move may just have passed over `ep`. Whether any pawn could
/// capture there is not asked: making a double push sets the square without asking either.
bool enPassantIsPossible(const Board& board, Square ep) {
    const Color us = board.sideToMove;
    return ep != kNoSquare && relativeRank(us, ep) == Rank6 &&
           !(board.occupied & (bit(ep) | bit(ep + forward(us)))) &&
           (board.pieces[~us][Pawn] & bit(ep - forward(us)));
}

void appendPlacement(std::string& text, const Board& board) {
    for (int rank = Rank8; rank >= Rank1; --rank) {
        int empty = 0;
        for (int file = FileA; file <= FileH; ++file) {
            const Square sq = makeSquare(file, rank);
            const Piece piece = board.mailbox[sq];
            if (piece == kNoPiece) {
                ++empty;
                continue;
            }
            if (empty)
                text += static_cast<char>('0' + empty);
            empty = 0;
            text += pieceLetter(board.colorBB[Black] & bit(sq) ? Black : White, piece);
        }
        if (empty)
            text += static_cast<char>('0' + empty);
        if (rank != Rank1)
            text += '/';
    }
}

void appendCastling(std::string& text, std::uint8_t castling) {
    if (castling == 0)
        text += '-';
    for (std::size_t i = 0; i < kCastlingLetters.size(); ++i)
        if (castling & (1 << i))
            text += kCastlingLetters[i];
}

void appendEnPassant(std::string& text, std::uint32_t epSquare) {
    if (epSquare == kNoSquare) {
        text += '-';
        return;
    }
    appendSquare(text, static_cast<Square>(epSquare));
}

} // namespace

bool Board::setFen(std::string_view fen) {
    ParsedFen parsed;
    if (!parseFen(fen, parsed))
        return false;

    reset();
    for (int i = 0; i < parsed.pieceCount; ++i)
        putPiece(parsed.pieces[i].color, parsed.pieces[i].piece, parsed.pieces[i].square);
    sideToMove = parsed.side;
    if (sideToMove == Black)
        key ^= Zobrist::sideToMove;
    castling = possibleRights(*this, parsed.castling);
    key ^= Zobrist::castling[castling];
    if (enPassantIsPossible(*this, parsed.epSquare)) {
        epSquare = static_cast<std::uint32_t>(parsed.epSquare);
        key ^= Zobrist::enPassant[fileOf(parsed.epSquare)];
    }
    halfmoveClock = static_cast<std::uint8_t>(parsed.halfmoveClock);
    fullmoveNumber = parsed.fullmoveNumber;

    assert(pawnKey == computePawnKey());
    if (inCheck(~sideToMove)) {
        reset();
        return false;
    }
    return true;
}

std::string Board::fen() const {
    std::string text;
    appendPlacement(text, *this);
    text += sideToMove == White ? " w " : " b ";
    appendCastling(text, castling);
    text += ' ';
    appendEnPassant(text, epSquare);
    text += ' ' + std::to_string(halfmoveClock) + ' ' + std::to_string(fullmoveNumber);
    return text;
}
