#pragma once

#include "board/board.h"
#include "pack/entries.h"
#include "tools/dataline.h"
#include "tools/tune.h"

#include <cstdint>
#include <memory>
#include <string_view>
#include <vector>

namespace Pack {

inline constexpr std::int16_t kNoScore = -32768;

/// Bits of a row's flags; the two lowest hold the result for White in half points.
inline constexpr std::uint8_t kWhiteToMove = 4;
inline constexpr std::uint8_t kFirstOfGame = 8;

/// Packed rows, a column for each of their numbers. Amounts are centipawns, White's point of view.
struct Rows {
    std::vector<std::int16_t> value; // the evaluation
    std::vector<std::int16_t> score; // of the search, `kNoScore` if there is none
    std::vector<std::int16_t> baseMg;
    std::vector<std::int16_t> baseEg;
    std::vector<std::uint16_t> length; // of its entries
    std::vector<std::uint8_t> phase;
    std::vector<std::uint8_t> scale;
    std::vector<std::uint8_t> clock;
    std::vector<std::uint8_t> flags;
    std::vector<std::uint8_t> entries; // of all rows, one after another

    std::size_t size() const { return value.size(); }
    void clear();
};

/// Where a row stands within games. A row begins a game unless it can follow the one before.
struct Place {
    std::int64_t ply =
        -1; // of the game's moves, counted as FENs do; negative: before the first row
    std::uint8_t halfPoints = 0;

    bool isFollowedBy(const Place& next) const {
        return ply >= 0 && halfPoints == next.halfPoints && ply < next.ply;
    }
};

/// Why a line gives no row.
enum class Fault { None, NoLine, NoPosition, NoFit, OtherValue, OtherCounts, NoMemory };

/// Packs lines of data, and proves for each that its row gives the evaluation back.
class RowPacker {
  public:
    /// The weights, which must be those of this build, stay the caller's.
    explicit RowPacker(const EntryReader& reader) : reader_(reader) {}

    /// Appends the row of a line, which ends where the text does, or tells why there is none; what
    /// it has appended then is of no use. `last` is the place of the row before, and becomes this
    /// one's.
    Fault add(std::string_view line, Place& last, Rows& rows);

  private:
    Fault addPosition(Rows& rows);
    bool addEntries(std::vector<std::uint8_t>& entries, ScorePair& total);

    const EntryReader& reader_;
    std::unique_ptr<Board> board_ = std::make_unique<Board>();
    DataGenSample sample_;
    Tune::Trace trace_; // counts nothing between two rows
};

} // namespace Pack
