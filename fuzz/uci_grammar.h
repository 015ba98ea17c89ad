#pragma once

#include "board/movegen.h"
#include "naive_fen.h"

#include <string_view>

/// Reads a line of output word by word. Each question takes what it asks for off the front,
/// together with the blank behind it; all of them fail once one has failed.
class OutputLine {
  public:
    explicit OutputLine(std::string_view text) : rest_(text) {}

    OutputLine& words(std::string_view text) {
        good_ = good_ && rest_.starts_with(text);
        return take(text.size());
    }

    OutputLine& number(bool mayBeNegative = false) {
        const bool negative = mayBeNegative && rest_.starts_with('-');
        const std::size_t begin = negative ? 1 : 0;
        const std::size_t end =
            std::min(rest_.find_first_not_of("0123456789", begin), rest_.size());
        good_ = good_ && end > begin;
        return take(end);
    }

    OutputLine& score() { return words(rest_.starts_with("cp") ? "cp" : "mate").number(true); }

    /// The name of a move.
    std::string_view move() {
        const std::string_view name = rest_.substr(0, rest_.find(' '));
        good_ = good_ && name.size() >= 4 && moveToString(parseUCIMove(name)) == name;
        take(name.size());
        return name;
    }

    bool good() const { return good_; }
    bool atEnd() const { return rest_.empty(); }
    bool startsWith(std::string_view text) const { return rest_.starts_with(text); }

  private:
    OutputLine& take(std::size_t size) {
        if (!good_)
            return *this;
        rest_.remove_prefix(size);
        if (rest_.empty())
            return *this;
        good_ = rest_.front() == ' ' && rest_.size() > 1; // no blank at the end
        rest_.remove_prefix(1);
        return *this;
    }

    std::string_view rest_;
    bool good_ = true;
};
