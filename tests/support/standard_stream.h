#pragma once

#include <unistd.h>

/// Something else in the place of a standard stream, until the end.
class Instead {
  public:
    /// Takes the open file `file` over.
    Instead(int stream, int file) : stream_(stream), before_(dup(stream)) {
        dup2(file, stream_);
        close(file);
    }
    ~Instead() {
        dup2(before_, stream_);
        close(before_);
    }
    Instead(const Instead&) = delete;
    Instead& operator=(const Instead&) = delete;

  private:
    int stream_;
    int before_;
};
