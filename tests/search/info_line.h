#pragma once

#include <algorithm>
#include <cstdint>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

/// The fields of a line that the search prints while it runs.
struct InfoLine {
    std::int64_t depth = 0;
    std::int64_t seldepth = 0;
    std::string score; // empty in a line of progress within an iteration
    std::int64_t nodes = 0;
    std::int64_t nps = 0;
    std::int64_t time = 0;
    std::string pv;
};

/// Reads such a line from left to right; anything out of order makes it invalid.
class InfoReader {
  public:
    explicit InfoReader(std::string_view line) : rest_(line) {}

    bool isValid() const { return valid_; }
    bool atEnd() const { return rest_.empty(); }

    /// Takes a fixed text.
    InfoReader& text(std::string_view expected) {
        valid_ = valid_ && rest_.starts_with(expected);
        if (valid_)
            rest_.remove_prefix(expected.size());
        return *this;
    }

    /// Takes digits without a sign.
    std::int64_t number() {
        const std::string_view digits = take("0123456789");
        valid_ = valid_ && !digits.empty() && digits.size() < 19;
        return valid_ ? std::stoll(std::string(digits)) : 0;
    }

    /// Takes "cp 34" or "mate -1".
    std::string score() {
        const std::string_view all = rest_;
        text(rest_.starts_with("mate") ? "mate " : "cp ");
        if (rest_.starts_with('-'))
            rest_.remove_prefix(1);
        number();
        return std::string(all.substr(0, all.size() - rest_.size()));
    }

    /// Takes moves with single blanks between them.
    std::string moves() {
        const std::string all(rest_);
        do {
            const std::string_view move = take("abcdefgh12345678nrq");
            valid_ = valid_ && (move.size() == 4 || move.size() == 5);
        } while (valid_ && !atEnd() && text(" ").isValid());
        return all;
    }

  private:
    std::string_view take(std::string_view letters) {
        const std::size_t size = std::min(rest_.find_first_not_of(letters), rest_.size());
        const std::string_view taken = rest_.substr(0, size);
        rest_.remove_prefix(size);
        return taken;
    }

    std::string_view rest_;
    bool valid_ = true;
};

/// The fields of a completed iteration's line or, without score and moves, of a line of progress;
/// nothing if the text is no such line.
inline std::optional<InfoLine> readInfoLine(std::string_view text, bool completed = true) {
    InfoLine line;
    InfoReader reader(text);
    line.depth = reader.text("info depth ").number();
    line.seldepth = reader.text(" seldepth ").number();
    if (completed)
        line.score = reader.text(" score ").score();
    line.nodes = reader.text(" nodes ").number();
    line.nps = reader.text(" nps ").number();
    line.time = reader.text(" time ").number();
    if (completed)
        line.pv = reader.text(" pv ").moves();
    return reader.isValid() && reader.atEnd() ? std::optional(line) : std::nullopt;
}
