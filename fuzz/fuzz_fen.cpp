#include "board/kinglines.h"
#include "board/leafcount.h"
#include "board/movegen.h"
#include "eval/evaluate.h"
#include "fen_mutator.h"
#include "naive_fen.h"
#include "search/iterate.h"
#include "search/thread.h"
#include "search/tt.h"
#include "support.h"
#include "support/board_checks.h"
#include "support/eval_checks.h"
#include "support/notation.h"

#include <sys/time.h>

#include <algorithm>
#include <csignal>
#include <memory>

/// The input is a FEN. A second reader says whether it is to be accepted and as what; what is
/// accepted must be a position that generators, moves, evaluation and search agree on.
namespace {

using BoardChecks::differences;
using BoardChecks::inconsistencies;
using Fuzz::require;
using Fuzz::requireNone;

// One input in this many is searched: a search costs as much as all other checks of a hundred.
constexpr std::uint64_t kSearchedShare = 128;

// Quiescence sees every order of all captures: on a board full of queens that takes minutes, so a
// search is told to stop after this much time of the processor.
constexpr int kSearchMicroseconds = 20000;
constexpr int kSearchedDepth = 2;

/// Boards are large: these are used again for each input.
struct Boards {
    Board subject; // reads the input
    Board again;   // the same position, read from what the subject wrote
    Board used;    // a position with a history, which a refused input must leave alone
    Board empty;

    Boards() {
        empty.reset();
        used.setFen("r3k2r/pppppppp/8/8/8/8/PPPPPPPP/R3K2R w KQkq - 4 7");
        for (const char* text : {"e1g1", "c7c5"})
            used.makeMove(matchMove(used, parseUCIMove(text)));
        subject = used;
    }
};

Boards& boards() {
    static const auto all = std::make_unique<Boards>();
    return *all;
}

void checkRefused(bool inCheck) {
    const auto& [subject, again, used, empty] = boards();
    if (inCheck)
        requireNone(differences(subject, empty), "a king that could be taken leaves no pieces");
    else
        requireNone(differences(subject, used), "a refused FEN changes nothing");
}

/// What making and taking back one move leaves behind, and whether it was legal.
bool checkMove(Board& board, const Board& before, Move m) {
    const Color us = board.sideToMove;
    board.makeMove(m);
    const bool legal = !board.inCheck(us);
    requireNone(inconsistencies(board), "a move keeps the board whole");
    board.unmakeMove(m);
    requireNone(differences(board, before), "taking a move back restores the board");
    return legal;
}

/// Moves of both kinds together, sorted.
std::vector<Move> sorted(const MoveList& list) {
    std::vector<Move> moves(list.begin(), list.end());
    std::sort(moves.begin(), moves.end());
    return moves;
}

void checkKinds(const Board& board, const MoveList& all) {
    MoveList parts;
    generateCaptures(board, parts);
    const int captures = parts.count;
    generateQuiets(board, parts);
    require(std::all_of(parts.begin(), parts.begin() + captures, isCaptureOrPromotion) &&
                std::none_of(parts.begin() + captures, parts.end(), isCaptureOrPromotion),
            "captures and promotions are generated apart from quiet moves");
    const std::vector<Move> moves = sorted(all);
    require(moves == sorted(parts), "captures and quiet moves together are all moves");
    require(std::adjacent_find(moves.begin(), moves.end()) == moves.end(),
            "no move is generated twice");
}

void checkMoves(Board& board, const Board& before) {
    MoveList all;
    generateMoves(board, all);
    checkKinds(board, all);
    MoveList legal;
    generateLegalMoves(board, legal);
    require(firstLegalMove(board) == (legal.count ? legal.moves[0] : 0),
            "the first legal move is the first of the legal moves");
    const LegalityInfo test(board, board.inCheck(board.sideToMove));
    int next = 0;
    for (const Move m : all) {
        require(board.isPseudoLegal(m), "generated moves are pseudo-legal", moveToString(m));
        const bool expected = next < legal.count && legal.moves[next] == m;
        next += expected;
        require(checkMove(board, before, m) == expected && test.isLegal(m) == expected,
                "legal is what leaves the own king out of check", moveToString(m));
    }
    require(next == legal.count, "legal moves come in the order of all moves");
    require(countLeaves(board, 1) == static_cast<std::uint64_t>(legal.count),
            "legal moves are as many when they are counted", board.fen());
}

void checkEvaluation(const Board& board) {
    int cachedMg, cachedEg, freshMg, freshEg;
    evalPawnsCheck(board, cachedMg, cachedEg, freshMg, freshEg);
    require(cachedMg == freshMg && cachedEg == freshEg, "pawns are worth what the cache says");
    require(std::abs(evaluate(board)) < Search::kMateBound, "an evaluation is no mate score");
}

/// Tells searches to stop after a while.
class Alarm {
  public:
    Alarm() {
        std::signal(SIGVTALRM, [](int) { gStopSearch = true; });
        set(kSearchMicroseconds);
    }
    ~Alarm() { set(0); }
    Alarm(const Alarm&) = delete;
    Alarm& operator=(const Alarm&) = delete;

  private:
    static void set(int microseconds) {
        const itimerval timer{{0, 0}, {0, microseconds}};
        setitimer(ITIMER_VIRTUAL, &timer, nullptr);
    }
};

void checkSearch(const Board& board) {
    static const auto thread = std::make_unique<Thread>(kToolThread);
    gTT.clear();
    gStopSearch = false;
    thread->board.setFen(board.fen());
    thread->clearForSearch();
    thread->rootBestMove = firstLegalMove(board); // until the search has found one
    const Alarm alarm;
    for (int depth = 1; depth <= kSearchedDepth; ++depth)
        Search::completeIteration(*thread, depth);
    requireNone(differences(thread->board, board), "a search leaves the board as it was");
    require(gStopSearch || std::abs(thread->score) <= Search::kMate,
            "a score lies within the bounds");
    require(thread->bestMove
                ? board.isPseudoLegal(thread->bestMove) && board.isLegal(thread->bestMove)
                : firstLegalMove(board) == 0,
            "a search finds a legal move where there is one", moveToString(thread->bestMove));
}

void checkAccepted(const std::string& wanted, bool searched) {
    auto& [subject, again, used, empty] = boards();
    const std::string fen = subject.fen();
    require(fen == wanted, "a FEN is written as the second reader understands it", fen);
    requireNone(inconsistencies(subject), "a FEN gives a whole board");
    require(again.setFen(fen), "a written FEN can be read", fen);
    requireNone(differences(subject, again), "a written FEN gives the same board");
    checkMoves(subject, again);
    checkEvaluation(subject);
    if (searched)
        checkSearch(subject);
}

} // namespace

extern "C" int LLVMFuzzerInitialize(int*, char***) {
    Fuzz::startEngine();
    gTT.recordWrites(true);
    return 0;
}

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    Board& subject = boards().subject;
    NaiveFen::Position position;
    const std::string_view text = Fuzz::textOf(data, size);
    const NaiveFen::Verdict verdict = NaiveFen::read(text, position);
    const bool accepted = subject.setFen(text);
    require(accepted == (verdict == NaiveFen::Verdict::Accepted), "both readers agree");
    if (accepted)
        checkAccepted(NaiveFen::write(position), Fuzz::digest(text) % kSearchedShare == 0);
    else
        checkRefused(verdict == NaiveFen::Verdict::Check);
    if (verdict != NaiveFen::Verdict::Malformed)
        subject = boards().used;
    return 0;
}

extern "C" std::size_t LLVMFuzzerCustomMutator(std::uint8_t* data, std::size_t size,
                                               std::size_t maxSize, unsigned int seed) {
    Fuzz::Random random(seed);
    if (random.oneIn(4))
        return LLVMFuzzerMutate(data, size, maxSize);
    const std::string fen = FenMutator::change(Fuzz::textOf(data, size), random);
    if (fen == Fuzz::textOf(data, size))
        return LLVMFuzzerMutate(data, size, maxSize);
    return Fuzz::replaceInput(fen, data, size, maxSize);
}
