#pragma once

#include <cstdio>
#include <string>
#include <utility>

/// Catches what the process writes to `stdout` or `stderr` through the C library, which lets its
/// streams be replaced. Nothing passes through the system: a capture costs next to nothing. The
/// fuzzer has the streams from before and keeps writing where it did.
class Capture {
  public:
    explicit Capture(std::FILE*& stream) : stream_(stream), before_(stream) {
        cookie_io_functions_t functions{};
        functions.write = append;
        stream_ = fopencookie(&text_, "w", functions);
        std::setvbuf(stream_, nullptr, _IONBF, 0);
    }
    ~Capture() {
        std::fclose(stream_);
        stream_ = before_;
    }
    Capture(const Capture&) = delete;
    Capture& operator=(const Capture&) = delete;

    /// What was written since the last call.
    std::string take() { return std::exchange(text_, {}); }

  private:
    static ssize_t append(void* text, const char* data, std::size_t size) {
        static_cast<std::string*>(text)->append(data, size);
        return static_cast<ssize_t>(size);
    }

    std::FILE*& stream_;
    std::FILE* before_;
    std::string text_;
};
