#include "platform/file.h"

#include <io.h>
#include <windows.h>

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
