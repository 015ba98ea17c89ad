#pragma once

#include "board/movegen.h"
#include "search/tt.h"
#include "support/notation.h"
#include "tools/datagen.h"
#include "tools/selfplay.h"

#include <cstdint>
#include <cstdlib>
#include <map>
#include <memory>
#include <random>
#include <string>
#include <vector>

/// A second data generation, to compare files with. Games follow from the FENs of their positions;
/// with the first it shares the board, the generation of moves and the search of one position.
namespace Reference {

/// The part of a FEN that makes two positions the same: all but the counters.
inline std::string positionOf(const std::string& fen) {
    return fen.substr(0, fen.rfind(' ', fen.rfind(' ') - 1));
}

inline int clockOf(const std::string& fen) {
    const std::size_t last = fen.rfind(' ');
    return std::stoi(fen.substr(fen.rfind(' ', last - 1) + 1));
}

/// Whether the pieces of a FEN are kings and one minor piece at most, or kings and two bishops on
/// squares of one colour.
inline bool isDead(const std::string& fen) {
    int minors = 0;
    int lightBishops = 0;
    int darkBishops = 0;
    int file = 0;
    int rank = 7;
    for (const char letter : fen.substr(0, fen.find(' '))) {
        if (letter == '/') {
            --rank;
            file = 0;
            continue;
        }
        if (letter >= '1' && letter <= '8') {
            file += letter - '0';
            continue;
        }
        if (std::string("PpRrQq").find(letter) != std::string::npos)
            return false;
        const bool bishop = letter == 'B' || letter == 'b';
        minors += bishop || letter == 'N' || letter == 'n';
        lightBishops += bishop && (file + rank) % 2 == 1;
        darkBishops += bishop && (file + rank) % 2 == 0;
        ++file;
    }
    return minors < 2 || (minors == 2 && (lightBishops == 2 || darkBishops == 2));
}

/// A whole number below `n`: of each drawn number the bits that n - 1 needs.
inline std::size_t draw(std::mt19937_64& random, std::size_t n) {
    std::uint64_t mask = 0;
    while (mask < n - 1)
        mask = 2 * mask + 1;
    for (;;)
        if (const std::uint64_t number = random() & mask; number < n)
            return number;
}

/// Plays random moves from the start position; false if they run out.
inline bool playRandomMoves(Board& board, std::mt19937_64& random, int plies) {
    board.setFen(kStartFen);
    for (int ply = 0; ply < plies; ++ply) {
        const MoveList legal = Notation::movesOf(board, generateLegalMoves);
        const auto count = static_cast<std::size_t>(legal.count);
        if (count == 0)
            return false;
        board.makeRoomInHistory();
        board.makeMove(legal.moves[count == 1 ? 0 : draw(random, count)]);
    }
    return Notation::movesOf(board, generateLegalMoves).count > 0;
}

/// A finished game: its lines and the rule that ended it.
struct Game {
    char result = '='; // '1' White won, '0' Black won
    std::string end;
    std::vector<Sample> samples;
};

class Player {
  public:
    explicit Player(const DataGenConfig& config) : config_(config) {}

    bool findOpening(std::uint64_t seed) {
        std::mt19937_64 random(seed);
        for (int attempt = 1; attempt <= config_.openingtries; ++attempt)
            if (playRandomMoves(board(), random, config_.randomplies)) {
                forget();
                if (std::abs(search().white) <= config_.openingcap)
                    return true;
            }
        return false;
    }

    Game playGame() {
        forget();
        Game game;
        std::map<std::string, int> seen;
        int resignSign = 0;
        int resignRun = 0;
        int drawRun = 0;
        for (int ply = 0; ply < config_.maxplies; ++ply) {
            const std::string fen = board().fen();
            const MoveList legal = Notation::movesOf(board(), generateLegalMoves);
            const bool check = board().inCheck(board().sideToMove);
            const bool white = board().sideToMove == White;
            if (legal.count == 0)
                return check ? ended(game, white ? '0' : '1', "mate")
                             : ended(game, '=', "stalemate");
            if (clockOf(fen) > 99)
                return ended(game, '=', "fifty moves");
            if (++seen[positionOf(fen)] == 3)
                return ended(game, '=', "repetition");
            if (isDead(fen))
                return ended(game, '=', "dead");

            const Found found = search();
            const Move move = found.move ? found.move : legal.moves[0];
            const bool promotion = moveToString(move).size() == 5;
            const bool capture =
                board().mailbox[toSquare(move)] != kNoPiece || takesEnPassant(move);
            if (!(config_.skipcheck && check) && !(config_.skipquiet && (capture || promotion)) &&
                std::abs(found.white) < config_.evalcap)
                game.samples.push_back({fen, found.white});

            if (std::abs(found.white) < config_.resign) {
                resignSign = resignRun = 0;
            } else {
                const int sign = found.white > 0 ? 1 : -1;
                resignRun = sign == resignSign ? resignRun + 1 : 1;
                resignSign = sign;
                if (resignRun >= config_.resignplies)
                    return ended(game, sign > 0 ? '1' : '0', "resignation");
            }
            const bool even = ply >= config_.drawmin && std::abs(found.white) <= config_.draw;
            drawRun = even ? drawRun + 1 : 0;
            if (even && drawRun >= config_.drawplies)
                return ended(game, '=', "draw");
            board().makeMove(move);
        }
        return ended(game, '=', "length");
    }

  private:
    struct Found {
        Move move;
        int white; // score from White's point of view
    };

    Board& board() { return thread_->board; }

    bool takesEnPassant(Move move) {
        const auto target = static_cast<std::uint32_t>(toSquare(move));
        return board().mailbox[fromSquare(move)] == Pawn && target == board().epSquare;
    }

    void forget() {
        thread_->clearForSearch();
        gTT.clear();
    }

    Found search() {
        board().makeRoomInHistory();
        int score = 0;
        const Move move = searchForDataGen(*thread_, config_.maxdepth, config_.nodes, score);
        return {move, board().sideToMove == White ? score : -score};
    }

    static Game ended(Game& game, char result, const char* end) {
        game.result = result;
        game.end = end;
        return game;
    }

    const DataGenConfig& config_;
    std::unique_ptr<Thread> thread_ = std::make_unique<Thread>(kToolThread);
};

/// A whole run: the file and what is told about it, without the numbers that time decides.
struct Run {
    std::string file;
    std::string messages;
    std::map<std::string, int> ends; // games by what ended them
};

inline Run run(const DataGenConfig& c) {
    const auto number = [](std::int64_t value) { return std::to_string(value); };
    Run run;
    run.messages = "datagen: games=" + number(c.games) + " out=" + c.out +
                   " seed=" + std::to_string(c.seed) + " nodes=" + number(c.nodes) +
                   " maxdepth=" + number(c.maxdepth) + " randomplies=" + number(c.randomplies) +
                   " score=" + (c.score ? "1" : "0") + "\n";
    Player player(c);
    std::int64_t played = 0;
    std::int64_t positions = 0;
    const auto counts = [&] {
        return number(positions) + " позицій, " + number(run.ends["no opening"]) + " відкинуто, ";
    };
    for (std::int64_t i = 0; i < c.games; ++i) {
        if (!player.findOpening(c.seed + static_cast<std::uint64_t>(i))) {
            ++run.ends["no opening"];
            continue;
        }
        const Game game = player.playGame();
        const std::string result = game.result == '1'   ? " [1.0]"
                                   : game.result == '0' ? " [0.0]"
                                                        : " [0.5]";
        for (const Sample& sample : game.samples)
            run.file +=
                sample.fen + result + (c.score ? " [" + number(sample.score) + "]\n" : "\n");
        ++played;
        positions += static_cast<std::int64_t>(game.samples.size());
        ++run.ends[game.end == "mate" || game.end == "resignation" ? game.end + ' ' + game.result
                                                                   : game.end];
        if (c.progress > 0 && (i + 1) % c.progress == 0)
            run.messages += "  " + number(i + 1) + "/" + number(c.games) + " партій, " + counts() +
                            "# партій/с\n";
    }
    run.messages += "datagen: готово — " + number(played) + " партій, " + counts() + "# с\n";
    return run;
}

} // namespace Reference
