#include "base/output.h"

#include <cstdio>
#include <mutex>

#if defined(__unix__) || defined(__APPLE__)
#include <fcntl.h>
#include <unistd.h>
#endif

namespace {

std::mutex gOutputMutex;

bool writeTo(std::FILE* stream, std::string_view text) {
    const std::lock_guard lock(gOutputMutex);
    return std::fwrite(text.data(), 1, text.size(), stream) == text.size() &&
           std::fflush(stream) == 0;
}

/// Gives standard streams that are closed an end that takes nothing. Otherwise the next file opened
/// would get the number of one, and what is written to the stream would go into the file.
void fillClosedStreams() {
#if defined(__unix__) || defined(__APPLE__)
    int descriptor = 0;
    do
        descriptor = open("/dev/null", O_RDONLY | O_CLOEXEC);
    while (descriptor >= 0 && descriptor <= STDERR_FILENO);
    if (descriptor >= 0)
        close(descriptor);
#endif
}

} // namespace

namespace Output {

void init() {
    fillClosedStreams();
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
