#pragma once

#include <array>
#include <concepts>
#include <cstddef>
#include <cstdint>
#include <string_view>

/// One line of output put together in place: the search reports its progress without touching the
/// heap. Text beyond the capacity is dropped; the longest line that the search prints (a full
/// principal variation of 128 moves and every number at its longest) is about half of it.
class OutputLine {
  public:
    static constexpr std::size_t kCapacity = 2048;

    OutputLine& add(std::string_view text);

    template <std::integral Integer>
    OutputLine& add(Integer value) {
        if constexpr (std::is_signed_v<Integer>)
            return addSigned(value);
        else
            return addUnsigned(value);
    }

    std::string_view text() const { return {buffer_.data(), size_}; }

    /// Ends the line and writes it to standard output in one piece.
    void print();

  private:
    OutputLine& addSigned(std::int64_t value);
    OutputLine& addUnsigned(std::uint64_t value);

    std::array<char, kCapacity> buffer_;
    std::size_t size_ = 0;
};
