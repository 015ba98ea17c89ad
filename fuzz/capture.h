#pragma once

#include <cstdlib>
#include <string>

#include <sys/mman.h>
#include <unistd.h>

/// Catches what the process writes to a standard stream, in memory. What the fuzzer itself has to
/// say must go elsewhere meanwhile: it does with -close_fd_mask.
class Capture {
  public:
    explicit Capture(int stream)
        : stream_(stream), before_(dup(stream)), file_(memfd_create("capture", MFD_CLOEXEC)) {
        if (before_ < 0 || file_ < 0 || dup2(file_, stream_) < 0)
            std::abort();
    }
    ~Capture() {
        dup2(before_, stream_);
        close(before_);
        close(file_);
    }
    Capture(const Capture&) = delete;
    Capture& operator=(const Capture&) = delete;

    /// What has been written so far.
    std::string text() const {
        std::string text(static_cast<std::size_t>(lseek(file_, 0, SEEK_CUR)), '\0');
        if (pread(file_, text.data(), text.size(), 0) != static_cast<ssize_t>(text.size()))
            std::abort();
        return text;
    }

  private:
    int stream_;
    int before_;
    int file_;
};
