#include "tools/datagen.h"

#include "base/files.h"
#include "base/output.h"
#include "tools/dataline.h"
#include "tools/messages.h"
#include "tools/selfplay.h"

#include <chrono>
#include <cstdio>
#include <vector>

namespace {

using Clock = std::chrono::steady_clock;

/// A number as a stream writes it by default: six significant digits.
std::string plain(double value) {
    char text[32];
    std::snprintf(text, sizeof text, "%g", value);
    return text;
}

std::string header(const DataGenConfig& config) {
    return "datagen: games=" + std::to_string(config.games) + " out=" + config.out +
           " seed=" + std::to_string(config.seed) + " nodes=" + std::to_string(config.nodes) +
           " maxdepth=" + std::to_string(config.maxdepth) +
           " randomplies=" + std::to_string(config.randomplies) +
           " score=" + std::to_string(config.score) + "\n";
}

/// What a run has done so far.
struct Tally {
    Clock::time_point start = Clock::now();
    std::int64_t played = 0;
    std::int64_t positions = 0;
    std::int64_t discarded = 0; // games without an opening

    std::string counts() const {
        return std::to_string(positions) + " позицій, " + std::to_string(discarded) +
               " відкинуто, ";
    }

    std::int64_t milliseconds() const {
        return std::chrono::duration_cast<std::chrono::milliseconds>(Clock::now() - start).count();
    }

    std::string progress(std::int64_t done, std::int64_t games) const {
        const std::int64_t ms = milliseconds();
        const double rate =
            ms < 1 ? 0 : static_cast<double>(played) * 1000.0 / static_cast<double>(ms);
        return "  " + std::to_string(done) + "/" + std::to_string(games) + " партій, " + counts() +
               plain(rate) + " партій/с\n";
    }

    std::string summary() const {
        return "datagen: готово — " + std::to_string(played) + " партій, " + counts() +
               plain(static_cast<double>(milliseconds()) / 1000.0) + " с\n";
    }
};

/// The lines of a game.
std::string gameText(std::vector<Sample>& samples, GameResult result, bool withScore) {
    constexpr double kValues[] = {1.0, 0.5, 0.0}; // by result
    std::string text;
    for (Sample& sample : samples)
        appendDataGenLine(text, {std::move(sample.fen), kValues[static_cast<int>(result)],
                                 sample.score, withScore});
    return text;
}

} // namespace

int runDataGen(const DataGenConfig& config) {
    Files::RecordWriter out;
    if (!out.open(config.out)) {
        Output::writeError(Messages::dataGenNotOpened(config.out));
        return 1;
    }
    Output::writeError(header(config));

    SelfPlay selfPlay(config);
    Tally tally;
    bool written = true;
    for (std::int64_t game = 0; game < config.games && written; ++game) {
        if (!selfPlay.findOpening(config.seed + static_cast<std::uint64_t>(game))) {
            ++tally.discarded;
            continue;
        }
        std::vector<Sample> samples;
        const GameResult result = selfPlay.playGame(samples);
        // A game is one record: whatever ends the run, the file holds whole games.
        written = out.append(gameText(samples, result, config.score));
        ++tally.played;
        tally.positions += static_cast<std::int64_t>(samples.size());
        if (written && config.progress > 0 && (game + 1) % config.progress == 0)
            Output::writeError(tally.progress(game + 1, config.games));
    }
    if (!out.close() || !written) {
        Output::writeError(Messages::dataGenNotWritten(config.out));
        return 1;
    }
    Output::writeError(tally.summary());
    return 0;
}
