#include "base/output.h"

#include "platform/console.h"

#include <cassert>
#include <cstdlib>
#include <mutex>

using Console::Stream;

namespace {

/// Within a function, since a mutex has a constructor on some systems, and nothing may run before
/// `main`.
std::mutex& outputMutex() {
    static std::mutex mutex;
    return mutex;
}

// So long a reader of diagnostics may keep us waiting, once.
constexpr int kDiagnosticPatienceMs = 100;

[[maybe_unused]] bool isWholeLines(std::string_view text) {
    return text.empty() || text.back() == '\n';
}

} // namespace

namespace Output {

void init() {
    Console::fillClosedStreams();
    Console::passBytesUnchanged();
    Console::ignoreWriteSignals();
}

bool tryWrite(std::string_view text) {
    assert(isWholeLines(text));
    const std::lock_guard lock(outputMutex());
    return Console::write(Stream::Output, text);
}

void write(std::string_view text) {
    if (!tryWrite(text))
        std::_Exit(EXIT_FAILURE);
}

void writeError(std::string_view text) {
    assert(isWholeLines(text));
    const std::lock_guard lock(outputMutex());
    Console::write(Stream::Error, text);
}

void writeDiagnostic(std::string_view text) {
    assert(isWholeLines(text));
    static int patience = kDiagnosticPatienceMs;
    const std::lock_guard lock(outputMutex());
    while (!text.empty()) {
        if (!Console::waitUntilReady(Stream::Error, patience)) {
            patience = 0;
            return;
        }
        const std::string_view piece = text.substr(0, Console::kReadyBytes);
        if (!Console::write(Stream::Error, piece))
            return;
        text.remove_prefix(piece.size());
        patience = kDiagnosticPatienceMs;
    }
}

bool isInteractive() {
    return Console::isTerminal(Stream::Input) && Console::isTerminal(Stream::Error);
}

} // namespace Output
