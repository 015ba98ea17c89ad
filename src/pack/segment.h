#pragma once

#include "pack/rows.h"
#include "platform/file.h"

#include <cstdint>
#include <string>
#include <vector>

namespace Pack {

inline constexpr std::uint32_t kFormat = 1;
inline constexpr std::size_t kBlockRows = 65536;

/// What a segment holds.
struct Totals {
    std::uint64_t rows = 0;
    std::uint64_t games = 0;
    std::uint64_t bytes = 0; // of the file
    bool scores = true;      // each row has one
};

/// Writes a file of rows in blocks. docs/tuning.md describes it.
class SegmentWriter {
  public:
    SegmentWriter() = default;
    SegmentWriter(const SegmentWriter&) = delete;
    SegmentWriter& operator=(const SegmentWriter&) = delete;
    /// Removes the file unless it was closed whole.
    ~SegmentWriter();

    /// Creates the file. Returns false if it exists or the system refuses.
    bool create(const std::string& path);

    /// Appends rows. Returns false if they could not be written.
    bool append(const Rows& rows);

    /// Writes what is left, and closes the file. Returns false if the system could not keep it.
    bool close();

    const Totals& totals() const { return totals_; }

  private:
    bool write(const void* bytes, std::size_t size);
    bool writeBlock();

    std::string path_;
    OwnedFile file_;
    Rows block_; // what is not written yet
    std::vector<std::uint8_t> body_;
    Totals totals_;
    bool isWhole_ = false;
};

} // namespace Pack
