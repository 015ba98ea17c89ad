#pragma once

#include "search/tt.h"
#include "uci/startup.h"

#include <unistd.h>

#include <algorithm>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <random>
#include <string_view>

extern "C" std::size_t LLVMFuzzerMutate(std::uint8_t* data, std::size_t size, std::size_t maxSize);

/// What every fuzz target needs.
namespace Fuzz {

/// Standard error as it is at the start: some targets catch what is written to it later.
inline const int kReports = dup(STDERR_FILENO);

/// Ends the process, for the fuzzer to see, unless a property holds.
inline void require(bool holds, std::string_view property, std::string_view detail = {}) {
    if (holds) [[likely]]
        return;
    dprintf(kReports, "violated: %.*s: %.*s\n", static_cast<int>(property.size()), property.data(),
            static_cast<int>(detail.size()), detail.data());
    std::abort();
}

/// For texts that name what is wrong and are empty otherwise.
inline void requireNone(std::string_view faults, std::string_view property) {
    require(faults.empty(), property, faults);
}

inline std::string_view textOf(const std::uint8_t* data, std::size_t size) {
    return {reinterpret_cast<const char*>(data), size};
}

/// A number that follows from an input and nothing else: what is too costly to be done for every
/// input is done for those where it is divisible by something.
inline std::uint64_t digest(std::string_view text) {
    std::uint64_t value = 0xCBF29CE484222325;
    for (const char c : text)
        value = (value ^ static_cast<unsigned char>(c)) * 0x100000001B3;
    return (value * 0x9E3779B97F4A7C15) >> 32; // the last bytes reach the lower half alone
}

/// Fills the tables. The transposition table is made tiny: clearing it must cost nothing.
inline void startEngine() {
    initEngine();
    gTT.resize(1);
}

/// Random numbers of a mutator.
class Random {
  public:
    explicit Random(unsigned int seed) : generator_(seed) {}

    std::size_t below(std::size_t limit) { return generator_() % limit; }
    bool oneIn(std::size_t count) { return below(count) == 0; }
    char from(std::string_view letters) { return letters[below(letters.size())]; }

  private:
    std::minstd_rand generator_;
};

/// Makes a text the input, for mutators; one that is too large leaves the change to the fuzzer.
inline std::size_t replaceInput(std::string_view text, std::uint8_t* data, std::size_t size,
                                std::size_t maxSize) {
    if (text.size() > maxSize)
        return LLVMFuzzerMutate(data, size, maxSize);
    std::copy(text.begin(), text.end(), data);
    return text.size();
}

} // namespace Fuzz
