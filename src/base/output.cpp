#include "base/output.h"

#include <cstdio>
#include <mutex>

namespace {

std::mutex gOutputMutex;

bool writeTo(std::FILE* stream, std::string_view text) {
    const std::lock_guard lock(gOutputMutex);
    return std::fwrite(text.data(), 1, text.size(), stream) == text.size() &&
           std::fflush(stream) == 0;
}

} // namespace

namespace Output {

void init() {
    // Without a buffer of its own the library hands each text on as it stands: one write a line,
    // also for a line longer than any buffer.
    std::setvbuf(stdout, nullptr, _IONBF, 0);
}

bool write(std::string_view text) {
    return writeTo(stdout, text);
}

void writeError(std::string_view text) {
    writeTo(stderr, text);
}

} // namespace Output
