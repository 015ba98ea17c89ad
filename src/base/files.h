#pragma once

#include "platform/file.h"

#include <cstddef>
#include <cstdint>
#include <memory>
#include <optional>
#include <span>
#include <string>
#include <string_view>

/// Text files of any size in constant memory, with every failure told.
namespace Files {

/// A file that grows by whole records. What a failed write has left of its record is cut off again.
/// A process that is killed leaves whole records as well, since each is one write to the system;
/// only a kill within that very write, some millionths of a second, can end it at the edge of a
/// page.
class RecordWriter {
  public:
    /// Opens the file for writing, or creates it. What it holds stays until `clear` or the first
    /// record: a run that ends before it has anything to write destroys nothing. Returns false if
    /// the system refuses.
    bool open(const std::string& path);

    /// Drops what the open file held before. Returns false if the system refuses.
    bool clear();

    /// Appends a record, the first one to an emptied file. Returns false if it could not be written
    /// whole (a full disk, for example); nothing may be appended after that.
    bool append(std::string_view record);

    /// Returns false if the system could not keep what was written. A writer that is not open has
    /// nothing to keep.
    bool close();

  private:
    OwnedFile file_;
    bool isOurs_ = false;    // it holds nothing but records
    std::uint64_t size_ = 0; // of the records
};

/// Reads text line by line.
class LineReader {
  public:
    /// No line of text that means anything is longer; without a bound a file without line ends
    /// would be read into memory whole.
    static constexpr std::size_t kLongestLine = std::size_t{16} << 20;

    enum class Status { Line, TooLong, End, Error };

    /// Reads what there is, at most as much as fits, and returns the number of bytes, 0 at the end,
    /// nothing if reading fails: as Console::read does.
    using Source = std::optional<std::size_t> (*)(std::span<char> space);

    LineReader() = default;
    LineReader(const LineReader&) = delete;
    LineReader& operator=(const LineReader&) = delete;

    /// Reads from a source instead of from a file.
    explicit LineReader(Source source) : source_(source) {}

    /// Returns false if the file cannot be opened.
    bool open(const std::string& path);

    /// Reads the next line, without its end, into `line`, which stays valid until the next call. A
    /// line that is too long is skipped as a whole.
    Status next(std::string_view& line);

  private:
    static constexpr std::size_t kCapacity = kLongestLine + 1; // with the end of the line

    void readMore();
    void skipLine();

    OwnedFile file_;
    Source source_ = nullptr;
    std::unique_ptr<char[]> buffer_{new char[kCapacity]}; // not zeroed
    std::string_view unread_{buffer_.get(), 0};           // within the buffer
    bool hasEnded_ = false;
    bool hasFailed_ = false;
};

} // namespace Files
