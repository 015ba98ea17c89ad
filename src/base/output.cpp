#include "base/output.h"

#include <cerrno>
#include <csignal>
#include <cstdlib>
#include <mutex>

#include <fcntl.h>
#include <poll.h>
#include <unistd.h>

namespace {

std::mutex gOutputMutex;

// So long a reader of diagnostics may keep us waiting, once.
constexpr int kDiagnosticPatienceMs = 100;

// A pipe that can take anything takes so much without blocking.
constexpr std::size_t kPipePiece = 4096;

/// Waits until a stream takes more, at most `ms` milliseconds (below 0: for ever).
bool isReady(int stream, int ms) {
    pollfd entry{stream, POLLOUT, 0};
    return poll(&entry, 1, ms) == 1;
}

/// One write to the system unless that takes less than all.
bool writeAll(int stream, std::string_view text) {
    while (!text.empty()) {
        const ssize_t count = ::write(stream, text.data(), text.size());
        if (count >= 0)
            text.remove_prefix(static_cast<std::size_t>(count));
        else if (errno == EAGAIN) // another process may have made the stream so
            isReady(stream, -1);
        else if (errno != EINTR)
            return false;
    }
    return true;
}

/// Gives standard streams that are closed an end that takes nothing. Otherwise the next file opened
/// would get the number of one, and what is written to the stream would go into the file.
void fillClosedStreams() {
    for (const int stream : {STDIN_FILENO, STDOUT_FILENO, STDERR_FILENO})
        if (fcntl(stream, F_GETFD) < 0 && open("/dev/null", O_RDONLY | O_CLOEXEC) < 0)
            return;
}

} // namespace

namespace Output {

void init() {
    fillClosedStreams();
    std::signal(SIGPIPE, SIG_IGN); // a reader that has gone shows in the result of a write
}

bool tryWrite(std::string_view text) {
    const std::lock_guard lock(gOutputMutex);
    return writeAll(STDOUT_FILENO, text);
}

void write(std::string_view text) {
    if (!tryWrite(text))
        std::_Exit(EXIT_FAILURE);
}

void writeError(std::string_view text) {
    const std::lock_guard lock(gOutputMutex);
    writeAll(STDERR_FILENO, text);
}

void writeDiagnostic(std::string_view text) {
    static int patience = kDiagnosticPatienceMs;
    const std::lock_guard lock(gOutputMutex);
    while (!text.empty()) {
        if (!isReady(STDERR_FILENO, patience)) {
            patience = 0;
            return;
        }
        const std::string_view piece = text.substr(0, kPipePiece);
        if (!writeAll(STDERR_FILENO, piece))
            return;
        text.remove_prefix(piece.size());
        patience = kDiagnosticPatienceMs;
    }
}

bool isInteractive() {
    return isatty(STDIN_FILENO) && isatty(STDERR_FILENO);
}

} // namespace Output
