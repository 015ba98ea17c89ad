#include "base/output.h"

#include <cstdio>
#include <mutex>

namespace {

std::mutex gOutputMutex;

void writeTo(std::FILE* stream, std::string_view text) {
    const std::lock_guard lock(gOutputMutex);
    std::fwrite(text.data(), 1, text.size(), stream);
    std::fflush(stream);
}

} // namespace

namespace Output {

void init() {
    // Without a buffer of its own the library hands each text on as it stands: one write a line,
    // also for a line longer than any buffer.
    std::setvbuf(stdout, nullptr, _IONBF, 0);
}

void write(std::string_view text) {
    writeTo(stdout, text);
}

void writeError(std::string_view text) {
    writeTo(stderr, text);
}

} // namespace Output
