#include "platform/file.h"

#include <algorithm>
#include <climits>

#include <io.h>
#include <windows.h>

namespace {

/// What the system knows of a regular file; nothing if it has no such file.
std::optional<BY_HANDLE_FILE_INFORMATION> informationOf(const std::string& path) {
    const HANDLE file = CreateFileA(path.c_str(), FILE_READ_ATTRIBUTES,
                                    FILE_SHARE_READ | FILE_SHARE_WRITE | FILE_SHARE_DELETE, nullptr,
                                    OPEN_EXISTING, 0, nullptr);
    if (file == INVALID_HANDLE_VALUE)
        return {};
    BY_HANDLE_FILE_INFORMATION information;
    const bool isKnown =
        GetFileType(file) == FILE_TYPE_DISK && GetFileInformationByHandle(file, &information) != 0;
    CloseHandle(file);
    return isKnown ? std::optional(information) : std::nullopt;
}

} // namespace

bool cutFile(std::FILE* file, std::uint64_t size) {
    const int number = _fileno(file);
    const auto handle = reinterpret_cast<HANDLE>(_get_osfhandle(number));
    if (handle == INVALID_HANDLE_VALUE)
        return false;
    return GetFileType(handle) != FILE_TYPE_DISK ||
           _chsize_s(number, static_cast<long long>(size)) == 0;
}

bool isFolderNeverOpened(const std::string& path) {
    const DWORD attributes = GetFileAttributesA(path.c_str());
    return attributes != INVALID_FILE_ATTRIBUTES && (attributes & FILE_ATTRIBUTE_DIRECTORY) != 0;
}

std::optional<std::size_t> readFile(std::FILE* file, std::span<char> space) {
    const std::size_t size = std::min(space.size(), std::size_t{INT_MAX});
    const int count = _read(_fileno(file), space.data(), static_cast<unsigned>(size));
    return count < 0 ? std::nullopt : std::optional(static_cast<std::size_t>(count));
}

bool areSameFile(const std::string& a, const std::string& b) {
    const auto first = informationOf(a);
    const auto second = informationOf(b);
    return first && second && first->dwVolumeSerialNumber == second->dwVolumeSerialNumber &&
           first->nFileIndexHigh == second->nFileIndexHigh &&
           first->nFileIndexLow == second->nFileIndexLow;
}
