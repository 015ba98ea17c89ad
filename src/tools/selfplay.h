#pragma once

#include "search/thread.h"
#include "tools/datagen.h"

#include <memory>
#include <string>
#include <vector>

enum class GameResult { WhiteWon, Draw, BlackWon };

/// A position of a game, kept until the game's result is known.
struct Sample {
    std::string fen;
    std::int32_t score; // centipawns, White's point of view
};

/// Plays games of the engine against itself on the calling thread. Everything in a game follows
/// from the options and its seed.
class SelfPlay {
  public:
    /// `config` must outlive the object.
    explicit SelfPlay(const DataGenConfig& config);
    ~SelfPlay();
    SelfPlay(const SelfPlay&) = delete;
    SelfPlay& operator=(const SelfPlay&) = delete;

    /// Plays random moves from the start position until a balanced position is found; the next game
    /// begins with it. Returns false if all attempts fail.
    bool findOpening(std::uint64_t seed);

    /// Plays from the opening to the end and collects the positions worth keeping.
    GameResult playGame(std::vector<Sample>& samples);

    /// Nodes searched so far, for openings and games.
    std::uint64_t nodes() const { return nodes_; }

  private:
    template <class Generator>
    bool tryOpening(Generator& generator);
    Move search(int& whiteScore);
    bool isWorthKeeping(Move move, int whiteScore) const;

    const DataGenConfig& config_;
    std::unique_ptr<Thread> thread_; // its board is the game's
    std::uint64_t nodes_ = 0;
};

/// Searches the thread's position at depths 1 to `maxDepth` (at most 128); after `nodeLimit` nodes
/// no further depth is begun. Returns the best move, 0 if none, and its score in centipawns for the
/// side to move.
Move searchForDataGen(Thread& thread, int maxDepth, std::int64_t nodeLimit, int& scoreOut);
