#include "platform/console.h"

#include <algorithm>
#include <cstdlib>

#include <windows.h>

namespace Console {

namespace {

// What one call reads or writes at most: the system counts by 32 bits.
constexpr std::size_t kLongestPiece = std::size_t{1} << 30;

HANDLE handleOf(Stream stream) {
    constexpr DWORD kHandles[] = {STD_INPUT_HANDLE, STD_OUTPUT_HANDLE, STD_ERROR_HANDLE};
    return GetStdHandle(kHandles[static_cast<int>(stream)]);
}

bool isOpen(HANDLE handle) {
    return handle != nullptr && handle != INVALID_HANDLE_VALUE;
}

// The console shows bytes by its code page and outlives the program, whose user may want his own
// page back.
UINT gInputPage = 0;
UINT gOutputPage = 0;

void restorePages() {
    SetConsoleCP(gInputPage);
    SetConsoleOutputCP(gOutputPage);
}

BOOL WINAPI restorePagesAtBreak(DWORD) {
    restorePages();
    return FALSE; // the program ends as it would without this
}

} // namespace

void fillClosedStreams() {
    for (const DWORD stream : {STD_INPUT_HANDLE, STD_OUTPUT_HANDLE, STD_ERROR_HANDLE})
        if (!isOpen(GetStdHandle(stream))) {
            const HANDLE nothing =
                CreateFileW(L"NUL", GENERIC_READ, FILE_SHARE_READ | FILE_SHARE_WRITE, nullptr,
                            OPEN_EXISTING, 0, nullptr);
            SetStdHandle(stream, nothing);
        }
}

void passBytesUnchanged() {
    gInputPage = GetConsoleCP();
    gOutputPage = GetConsoleOutputCP();
    if (gInputPage == 0 || gOutputPage == 0) // there is no console
        return;
    SetConsoleCP(CP_UTF8);
    SetConsoleOutputCP(CP_UTF8);
    std::atexit(restorePages);
    SetConsoleCtrlHandler(restorePagesAtBreak, TRUE);
}

void ignoreWriteSignals() {} // the system has none

std::optional<std::size_t> read(std::span<char> space) {
    DWORD count = 0;
    const auto size = static_cast<DWORD>(std::min(space.size(), kLongestPiece));
    if (ReadFile(handleOf(Stream::Input), space.data(), size, &count, nullptr))
        return count;
    if (GetLastError() == ERROR_BROKEN_PIPE) // nobody writes any more
        return 0;
    return {};
}

bool isInterrupted() {
    return false;
}

bool write(Stream stream, std::string_view text) {
    while (!text.empty()) {
        DWORD count = 0;
        const auto size = static_cast<DWORD>(std::min(text.size(), kLongestPiece));
        if (!WriteFile(handleOf(stream), text.data(), size, &count, nullptr))
            return false;
        if (count == 0) // a pipe that somebody has told not to wait
            Sleep(1);
        text.remove_prefix(count);
    }
    return true;
}

// What a pipe still takes is not to be learned: who writes to one that nobody reads waits.
bool waitUntilReady(Stream, int) {
    return true;
}

bool isTerminal(Stream stream) {
    DWORD mode = 0;
    return GetConsoleMode(handleOf(stream), &mode) != 0;
}

} // namespace Console
