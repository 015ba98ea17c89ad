#include "tools/selfplay.h"

#include "board/movegen.h"
#include "search/iterate.h"
#include "search/tt.h"

#include <algorithm>
#include <bit>
#include <cstdlib>
#include <optional>
#include <random>
#include <unordered_map>

namespace {

constexpr int kFiftyMoves = 100; // plies
constexpr std::size_t kExpectedPositions = 512;

/// An even draw from 0 to `count` - 1: numbers of as many bits as needed, those that are too large
/// drawn again. The distribution of the standard library differs from one library to the next.
template <class Generator>
std::uint64_t drawBelow(std::uint64_t count, Generator& generator) {
    const std::uint64_t mask = std::bit_ceil(count) - 1;
    std::uint64_t number = 0;
    do
        number = generator() & mask;
    while (number >= count);
    return number;
}

/// Neither side can mate: no pawn, rook or queen, and one minor piece at most or two bishops of one
/// square colour.
bool isInsufficientMaterial(const Board& board) {
    const auto both = [&](Piece p) { return board.pieces[White][p] | board.pieces[Black][p]; };
    if (both(Pawn) | both(Rook) | both(Queen))
        return false;
    Bitboard bishops = both(Bishop);
    if (!moreThanOne(both(Knight) | bishops))
        return true;
    if (both(Knight) || popcount(bishops) != 2)
        return false;
    const bool light = isLight(popLowest(bishops));
    return isLight(popLowest(bishops)) == light;
}

/// How often each position of a game has occurred, by key.
class Repetitions {
  public:
    Repetitions() : counts_(kExpectedPositions) {}

    /// Counts an occurrence; returns whether it is the third or a later one.
    bool isThird(std::uint64_t key) { return counts_[key]++ >= 2; }

  private:
    std::unordered_map<std::uint64_t, std::int32_t> counts_;
};

/// The end of a game by the rules, if this is one.
std::optional<GameResult> resultByRules(const Board& board, const MoveList& legalMoves,
                                        Repetitions& repetitions) {
    if (legalMoves.count == 0) {
        if (!board.inCheck(board.sideToMove))
            return GameResult::Draw;
        return board.sideToMove == Black ? GameResult::WhiteWon : GameResult::BlackWon;
    }
    if (board.halfmoveClock >= kFiftyMoves || repetitions.isThird(board.key) ||
        isInsufficientMaterial(board))
        return GameResult::Draw;
    return std::nullopt;
}

/// Ends games that are decided: one side far ahead, or none, for long enough.
class Adjudicator {
  public:
    explicit Adjudicator(const DataGenConfig& config) : config_(config) {}

    std::optional<GameResult> judge(int whiteScore, int ply) {
        const int size = std::abs(whiteScore);
        if (size >= config_.resign) {
            const int sign = whiteScore > 0 ? 1 : -1;
            resignRun_ = sign == resignSign_ ? resignRun_ + 1 : 1;
            resignSign_ = sign;
            if (resignRun_ >= config_.resignplies)
                return sign > 0 ? GameResult::WhiteWon : GameResult::BlackWon;
        } else {
            resignRun_ = resignSign_ = 0;
        }
        if (ply >= config_.drawmin && size <= config_.draw) {
            if (++drawRun_ >= config_.drawplies)
                return GameResult::Draw;
        } else {
            drawRun_ = 0;
        }
        return std::nullopt;
    }

  private:
    const DataGenConfig& config_;
    int resignRun_ = 0;
    int resignSign_ = 0; // 1 White, -1 Black, 0 no run
    int drawRun_ = 0;
};

void forgetEverything(Thread& thread) {
    thread.clearForSearch();
    gTT.clear();
}

} // namespace

Move searchForDataGen(Thread& thread, int maxDepth, std::int64_t nodeLimit, int& scoreOut) {
    gStopSearch = false;
    const std::uint64_t before = thread.nodes;
    thread.rootBestMove = 0;
    thread.score = 0;
    const int last = std::clamp(maxDepth, 1, Search::kMaxPly);
    for (int depth = 1; depth <= last; ++depth) {
        Search::completeIteration(thread, depth);
        if (nodeLimit >= 1 && thread.nodes - before >= static_cast<std::uint64_t>(nodeLimit))
            break;
    }
    scoreOut = thread.score;
    return thread.bestMove;
}

SelfPlay::SelfPlay(const DataGenConfig& config)
    : config_(config), thread_(std::make_unique<Thread>(kToolThread)) {
    gTT.recordWrites(true); // every opening and every game begins with a clear table
}

SelfPlay::~SelfPlay() {
    gTT.recordWrites(false);
}

bool SelfPlay::findOpening(std::uint64_t seed) {
    std::mt19937_64 generator(seed);
    for (int attempt = 0; attempt < config_.openingtries; ++attempt)
        if (tryOpening(generator))
            return true;
    return false;
}

template <class Generator>
bool SelfPlay::tryOpening(Generator& generator) {
    Board& board = thread_->board;
    board.setFen(kStartFen);
    for (int ply = 0; ply < config_.randomplies; ++ply) {
        MoveList legalMoves;
        generateLegalMoves(board, legalMoves);
        if (legalMoves.count == 0)
            return false;
        const auto count = static_cast<std::uint64_t>(legalMoves.count);
        board.makeRoomInHistory();
        board.makeMove(legalMoves.moves[count == 1 ? 0 : drawBelow(count, generator)]);
    }
    if (firstLegalMove(board) == 0)
        return false;
    forgetEverything(*thread_);
    int score = 0;
    search(score);
    return std::abs(score) <= config_.openingcap;
}

GameResult SelfPlay::playGame(std::vector<Sample>& samples) {
    forgetEverything(*thread_);
    Board& board = thread_->board;
    Repetitions repetitions;
    Adjudicator adjudicator(config_);
    for (int ply = 0; ply < config_.maxplies; ++ply) {
        MoveList legalMoves;
        generateLegalMoves(board, legalMoves);
        if (const auto result = resultByRules(board, legalMoves, repetitions))
            return *result;
        int score = 0;
        Move move = search(score);
        if (move == 0)
            move = legalMoves.moves[0];
        // Before the game is judged: the position that ends it is kept as well.
        if (isWorthKeeping(move, score))
            samples.push_back({board.fen(), score});
        if (const auto result = adjudicator.judge(score, ply))
            return *result;
        board.makeMove(move);
    }
    return GameResult::Draw;
}

/// Searches the game's position; the score is White's.
Move SelfPlay::search(int& whiteScore) {
    Board& board = thread_->board;
    board.makeRoomInHistory();
    int score = 0;
    const std::uint64_t before = thread_->nodes;
    const Move move = searchForDataGen(*thread_, config_.maxdepth, config_.nodes, score);
    nodes_ += thread_->nodes - before;
    whiteScore = board.sideToMove == White ? score : -score;
    return move;
}

bool SelfPlay::isWorthKeeping(Move move, int whiteScore) const {
    const Board& board = thread_->board;
    if (config_.skipcheck && board.inCheck(board.sideToMove))
        return false;
    if (config_.skipquiet && isCaptureOrPromotion(move))
        return false;
    return std::abs(whiteScore) < config_.evalcap;
}
