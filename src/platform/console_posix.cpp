#include "platform/console.h"

#include <cerrno>
#include <csignal>

#include <fcntl.h>
#include <poll.h>
#include <unistd.h>

namespace Console {

namespace {

int numberOf(Stream stream) {
    constexpr int kNumbers[] = {STDIN_FILENO, STDOUT_FILENO, STDERR_FILENO};
    return kNumbers[static_cast<int>(stream)];
}

/// Waits until an event, one of poll's, at most `ms` milliseconds (below 0: for ever). Returns
/// whether there is one.
bool waitFor(Stream stream, short event, int ms) {
    pollfd entry{numberOf(stream), event, 0};
    return poll(&entry, 1, ms) == 1;
}

} // namespace

void fillClosedStreams() {
    for (const int stream : {STDIN_FILENO, STDOUT_FILENO, STDERR_FILENO})
        if (fcntl(stream, F_GETFD) < 0 && open("/dev/null", O_RDONLY | O_CLOEXEC) < 0)
            return;
}

void passBytesUnchanged() {} // they do anyway

void ignoreWriteSignals() {
    std::signal(SIGPIPE, SIG_IGN);
    std::signal(SIGXFSZ, SIG_IGN);
}

std::optional<std::size_t> read(std::span<char> space) {
    for (;;) {
        const ssize_t count = ::read(numberOf(Stream::Input), space.data(), space.size());
        if (count >= 0)
            return static_cast<std::size_t>(count);
        if (errno == EAGAIN) // another process may have made the stream so
            waitFor(Stream::Input, POLLIN, -1);
        else if (errno != EINTR)
            return {};
    }
}

bool isInterrupted() {
    return false;
}

bool write(Stream stream, std::string_view text) {
    while (!text.empty()) {
        const ssize_t count = ::write(numberOf(stream), text.data(), text.size());
        if (count >= 0)
            text.remove_prefix(static_cast<std::size_t>(count));
        else if (errno == EAGAIN) // another process may have made the stream so
            waitUntilReady(stream, -1);
        else if (errno != EINTR)
            return false;
    }
    return true;
}

bool waitUntilReady(Stream stream, int ms) {
    return waitFor(stream, POLLOUT, ms);
}

bool isTerminal(Stream stream) {
    return isatty(numberOf(stream)) == 1;
}

} // namespace Console
