#include "base/files.h"

#include "platform/console.h"

#include <algorithm>
#include <cassert>
#include <cstring>

namespace Files {

namespace {

constexpr std::size_t kBlock = std::size_t{1} << 14; // what is read at once

} // namespace

bool RecordWriter::open(const std::string& path) {
    Console::ignoreWriteSignals(); // a limit on file sizes shall be told like a full disk
    file_.reset(std::fopen(path.c_str(), "ab"));
    if (!file_)
        return false;
    std::setvbuf(file_.get(), nullptr, _IONBF, 0); // records are handed on as they come
    isOurs_ = false;
    size_ = 0;
    return true;
}

bool RecordWriter::clear() {
    assert(file_);
    isOurs_ = cutFile(file_.get(), 0);
    return isOurs_;
}

bool RecordWriter::append(std::string_view record) {
    assert(file_);
    if (!isOurs_ && !clear())
        return false;
    if (std::fwrite(record.data(), 1, record.size(), file_.get()) == record.size()) {
        size_ += record.size();
        return true;
    }
    cutFile(file_.get(), size_);
    return false;
}

bool RecordWriter::close() {
    return !file_ || std::fclose(file_.release()) == 0;
}

bool LineReader::open(const std::string& path) {
    file_.reset(std::fopen(path.c_str(), "rb"));
    if (!file_ && isFolderNeverOpened(path)) { // told when it is read, as elsewhere
        hasFailed_ = hasEnded_ = true;
        return true;
    }
    return file_ != nullptr;
}

/// Reads on behind what is unread, unless there was nothing more the last time.
void LineReader::readMore() {
    if (hasEnded_)
        return;
    if (unread_.data() != buffer_.get())
        std::memmove(buffer_.get(), unread_.data(), unread_.size());
    const std::span<char> space{buffer_.get() + unread_.size(),
                                std::min(kBlock, kCapacity - unread_.size())};
    const std::optional<std::size_t> count = file_ ? readFile(file_.get(), space) : source_(space);
    hasFailed_ = !count;
    hasEnded_ = count.value_or(0) == 0;
    unread_ = {buffer_.get(), unread_.size() + count.value_or(0)};
}

/// Drops what is unread, up to the end of the line.
void LineReader::skipLine() {
    std::size_t end = std::string_view::npos;
    while (end == std::string_view::npos && !hasEnded_) {
        unread_ = {buffer_.get(), 0};
        readMore();
        end = unread_.find('\n');
    }
    if (end != std::string_view::npos)
        unread_.remove_prefix(end + 1);
}

LineReader::Status LineReader::next(std::string_view& line) {
    std::size_t end = unread_.find('\n');
    while (end == std::string_view::npos && unread_.size() <= kLongestLine && !hasEnded_) {
        const std::size_t searched = unread_.size();
        readMore();
        end = unread_.find('\n', searched);
    }
    if (end == std::string_view::npos) {
        if (unread_.size() > kLongestLine) {
            skipLine();
            return Status::TooLong;
        }
        if (hasFailed_)
            return Status::Error;
        if (unread_.empty())
            return Status::End;
        end = unread_.size(); // the last line needs no end
    }
    line = unread_.substr(0, end);
    unread_.remove_prefix(std::min(end + 1, unread_.size()));
    return Status::Line;
}

} // namespace Files
