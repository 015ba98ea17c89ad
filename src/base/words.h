#pragma once

#include <cstdint>
#include <string_view>

/// Takes words and numbers off the front of a text, which outlives it. White space separates words,
/// whatever the locale.
class Words {
  public:
    explicit Words(std::string_view text) : rest_(text) {}

    /// Takes the next word. Returns false, and leaves `word` untouched, if there is none.
    bool next(std::string_view& word);

    /// Takes a decimal number; it ends where its digits end, be it within a word. What is no number
    /// makes `value` 0, and a number beyond the type makes it the nearest one: both return false,
    /// and nothing more is found in the text. Without a next word `value` stays untouched.
    bool next(std::int32_t& value);
    bool next(std::int64_t& value);

  private:
    void skipWhiteSpace();

    template <class Integer>
    bool nextNumber(Integer& value);

    std::string_view rest_;
};
