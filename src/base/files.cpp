#include "base/files.h"

#include "platform/console.h"
#include "platform/file.h"

#include <cassert>
#include <filesystem>
#include <limits>
#include <system_error>

namespace Files {

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
    file_.open(path, std::ios::binary);
    if (!file_.is_open() && isFolderNeverOpened(path)) { // told when it is read, as elsewhere
        file_.setstate(std::ios::badbit);
        return true;
    }
    return file_.is_open();
}

LineReader::Status LineReader::next(std::string_view& line) {
    stream_->getline(buffer_.get(), kLongestLine + 1);
    if (stream_->bad())
        return Status::Error;
    const auto size = static_cast<std::size_t>(stream_->gcount());
    if (stream_->eof()) { // the last line needs no end
        line = {buffer_.get(), size};
        return size == 0 ? Status::End : Status::Line;
    }
    if (stream_->fail()) {
        stream_->clear();
        stream_->ignore(std::numeric_limits<std::streamsize>::max(), '\n');
        return Status::TooLong;
    }
    line = {buffer_.get(), size - 1};
    return Status::Line;
}

bool areSameFile(const std::string& a, const std::string& b) {
    std::error_code error;
    return std::filesystem::is_regular_file(a, error) && std::filesystem::equivalent(a, b, error);
}

} // namespace Files
