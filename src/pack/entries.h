#pragma once

#include "pack/cells.h"
#include "params/psq.h"
#include "tools/tune.h"

#include <array>
#include <cstddef>
#include <cstdint>
#include <span>
#include <vector>

/// The entries of a packed row: bytes that go through the cells in increasing order, from the first
/// one on. A byte below `kStride` goes forward by so many cells and uses the one that it comes to
/// once for White; one below twice that uses it once for Black. The others go forward by 1 to 4
/// strides and use nothing.
namespace Pack {

inline constexpr std::size_t kStride = 126;
inline constexpr std::size_t kLongestJump = 4;

/// Writes the entries of one row: first what is counted together, then what that leaves.
class EntryWriter {
  public:
    explicit EntryWriter(std::vector<std::uint8_t>& entries) : entries_(entries) {}

    /// Appends the uses of cells that count several weights, as often as one of these is counted.
    void useTogether(const Tune::Trace& trace);

    /// Appends uses of cells of one weight for all that is counted.
    void useAlone(const Tune::Trace& rest);

  private:
    /// Writes the entries of a cell and returns where they end.
    std::uint8_t* use(std::uint8_t* end, std::size_t cell, std::int32_t count);
    void use(std::span<const std::int32_t> counts, std::size_t firstCell);

    std::vector<std::uint8_t>& entries_;
    std::size_t place_ = 0; // the cell that is used last
};

/// Reads entries back, with the values of weights.
class EntryReader {
  public:
    explicit EntryReader(std::span<const int, Tune::NPARAMS> weights);

    /// Takes the uses of a row off the counts of a trace and adds their values to `total`; goes on
    /// from the cell at `place`, 0 at the row's first entry. Returns false if an entry uses a cell
    /// that does not exist.
    bool takeOff(std::span<const std::uint8_t> entries, std::size_t& place, Tune::Trace& trace,
                 ScorePair& total) const;

  private:
    std::array<PackedPair, kCellCount> values_; // of one use
};

/// Whether a trace counts no weight at all.
bool countsNothing(const Tune::Trace& trace);

} // namespace Pack
