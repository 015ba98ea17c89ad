#include "board/kinglines.h"
#include "board/leafcount.h"
#include "board/movegen.h"
#include "board/perft.h"
#include "support.h"
#include "support/board_checks.h"

#include <algorithm>
#include <memory>
#include <optional>
#include <string>

/// The input begins with a position: one of a list, and moves played from there. The bytes behind
/// it are taken for codes of moves, as they might come out of a damaged table, and for texts of
/// moves. What the board says of either must be what its generated moves say. And the leaves below
/// the position are counted in both ways.
namespace {

using Fuzz::require;
using Fuzz::requireNone;

constexpr std::string_view kPositions[] = {
    kStartFen,
    "r3k2r/p1ppqpb1/bn2pnp1/3PN3/1p2P3/2N2Q1p/PPPBBPPP/R3K2R w KQkq - 0 1",
    "r3k2r/8/8/8/8/8/8/R3K2R b KQkq - 0 1",
    "8/2p5/3p4/KP5r/1R3p1k/8/4P1P1/8 w - - 0 1",
    "r3k2r/Pppp1ppp/1b3nbN/nP6/BBP1P3/q4N2/Pp1P2PP/R2Q1RK1 w kq - 0 1",
    "rnbq1k1r/pp1Pbppp/2p5/8/2B5/8/PPP1NnPP/RNBQK2R w KQ - 1 8",
    "n1n5/PPPk4/8/8/8/8/4Kppp/5N1N b - - 0 1",
    "8/8/8/8/k2Pp2Q/8/8/3K4 b - d3 0 1",
    "3k4/3p4/8/K1P4r/8/8/8/8 b - - 0 1",
    "8/8/1k6/2b5/2pP4/8/5K2/8 b - d3 0 1",
    "4k3/8/8/1b6/8/3R4/4K3/8 w - - 0 1",
    "r3k1r1/8/8/8/3b4/8/8/R3K2R w KQq - 0 1",
    "k7/8/8/3pP3/8/8/8/K3R3 w - d6 0 2",
    "8/P1k5/K7/8/8/8/8/8 w - - 0 1",
    "qqqqqqqq/qqqqqqqq/1q4q1/8/2P5/1PPP2p1/PPPPP1k1/K7 b - - 0 1",
    "5rk1/6P1/7K/8/8/8/8/8 w - - 0 1",
};

constexpr int kCountedDepth = 2;

// One input in this many asks for every code of 16 bits.
constexpr std::uint64_t kExhaustiveShare = 1024;

/// Bytes of the input, zeros after its end.
class Bytes {
  public:
    explicit Bytes(std::string_view text) : rest_(text) {}

    std::uint32_t next() {
        if (rest_.empty())
            return 0;
        const auto value = static_cast<std::uint8_t>(rest_.front());
        rest_.remove_prefix(1);
        return value;
    }

    std::uint32_t nextCode() {
        std::uint32_t code = 0;
        for (int i = 0; i < 4; ++i)
            code |= next() << (8 * i);
        return code;
    }

    std::string_view rest() const { return rest_; }

  private:
    std::string_view rest_;
};

void setUp(Board& board, Bytes& bytes) {
    const std::string_view fen = kPositions[bytes.next() % std::size(kPositions)];
    require(board.setFen(fen), "a listed position is one", fen);
    for (std::uint32_t plies = bytes.next() % 64; plies > 0; --plies) {
        MoveList legal;
        generateLegalMoves(board, legal);
        if (legal.count == 0)
            break;
        board.makeMove(legal.moves[bytes.next() % static_cast<std::uint32_t>(legal.count)]);
    }
}

bool isKingTaken(const Board& board, Color c) {
    const Bitboard attackers =
        BoardChecks::attackersByWalking(board, board.kingSquare(c), board.occupied);
    return (attackers & board.colorBB[~c]) != 0;
}

/// What the board says of a generated move before it is made must be what is seen after it.
void checkMove(Board& board, const Board& before, Move m) {
    const Color us = board.sideToMove;
    const bool legal = board.isLegal(m);
    const bool givesCheck = CheckInfo(board).givesCheck(m);
    const std::uint32_t flag = moveFlag(m);
    if (flag == FlagQuiet || flag == FlagDoublePush)
        require(board.quietGivesCheck(m) == givesCheck, "both tests for check agree",
                moveToString(m));
    board.makeMove(m);
    requireNone(BoardChecks::inconsistencies(board), "a move keeps the board whole");
    require(legal == !isKingTaken(board, us), "legal is what leaves the own king out of check",
            moveToString(m));
    require(givesCheck == isKingTaken(board, ~us), "check is seen before the move",
            moveToString(m));
    board.unmakeMove(m);
    requireNone(BoardChecks::differences(board, before), "taking a move back restores the board");
}

/// Codes are told by their low 16 bits.
void checkCode(Board& board, const Board& before, const MoveList& moves, std::uint32_t code) {
    const Move m = code & 0xFFFF;
    const bool generated = std::find(moves.begin(), moves.end(), m) != moves.end();
    require(board.isPseudoLegal(code) == generated, "pseudo-legal is what the generators produce",
            board.fen() + ' ' + std::to_string(code));
    if (generated)
        checkMove(board, before, m);
}

// --- texts ---

struct ParsedText {
    Square from;
    Square to;
    char promotion; // '\0' for none
};

/// A move in coordinate notation; what follows the fifth character does not count.
std::optional<ParsedText> readNaively(const std::string& text) {
    constexpr std::string_view kFileLetters = "abcdefgh";
    constexpr std::string_view kRankDigits = "12345678";
    if (text.size() < 4)
        return {};
    std::size_t place[4];
    for (std::size_t i = 0; i < 4; ++i) {
        place[i] = (i % 2 ? kRankDigits : kFileLetters).find(text[i]);
        if (place[i] == std::string_view::npos)
            return {};
    }
    const char letter = text.size() > 4 ? text[4] : '\0';
    if (text.size() > 4 &&
        (letter == '\0' || std::string_view("nbrq").find(letter) == std::string_view::npos))
        return {};
    return ParsedText{static_cast<Square>(place[0] + 8 * place[1]),
                      static_cast<Square>(place[2] + 8 * place[3]), letter};
}

bool isMeant(const ParsedText& text, Move m) {
    const std::string name = moveToString(m);
    return fromSquare(m) == text.from && toSquare(m) == text.to &&
           (text.promotion == '\0' || (name.size() == 5 && name[4] == text.promotion));
}

void checkText(const Board& board, const MoveList& moves, const std::string& text) {
    const std::optional<ParsedText> naive = readNaively(text);
    const Move parsed = parseUCIMove(text);
    // a1a1 has the code of no move.
    const bool isMove = naive && (naive->from != 0 || naive->to != 0 || naive->promotion != '\0');
    require((parsed != 0) == isMove, "a text is a move for both readers", text);
    if (!isMove)
        return;
    require(moveToString(parsed) == text.substr(0, naive->promotion ? 5 : 4),
            "a text that was read is written as it was", text);
    const auto first =
        std::find_if(moves.begin(), moves.end(), [&](Move m) { return isMeant(*naive, m); });
    require(matchMove(board, parsed) == (first == moves.end() ? 0 : *first),
            "a text means the first generated move that fits", text);
}

/// The words of a text, and all of it.
void checkTexts(const Board& board, const MoveList& moves, std::string_view text) {
    checkText(board, moves, std::string(text));
    while (!text.empty()) {
        const std::size_t end = std::min(text.find_first_of(" \n"), text.size());
        checkText(board, moves, std::string(text.substr(0, end)));
        text.remove_prefix(std::min(end + 1, text.size()));
    }
}

} // namespace

extern "C" int LLVMFuzzerInitialize(int*, char***) {
    Fuzz::startEngine();
    return 0;
}

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    static const auto board = std::make_unique<Board>();
    static const auto before = std::make_unique<Board>();
    Bytes bytes(Fuzz::textOf(data, size));
    setUp(*board, bytes);
    *before = *board;
    MoveList moves;
    generateMoves(*board, moves);

    require(countLeaves(*board, kCountedDepth) == perft(*board, kCountedDepth),
            "leaves are as many when the last ply is counted", board->fen());
    for (const Move m : moves)
        require(matchMove(*board, parseUCIMove(moveToString(m))) == m,
                "a written move means itself", moveToString(m));
    checkTexts(*board, moves, bytes.rest());
    while (!bytes.rest().empty())
        checkCode(*board, *before, moves, bytes.nextCode());
    if (Fuzz::digest(Fuzz::textOf(data, size)) % kExhaustiveShare == 0)
        for (std::uint32_t code = 0; code <= 0xFFFF; ++code)
            checkCode(*board, *before, moves, code);
    return 0;
}
