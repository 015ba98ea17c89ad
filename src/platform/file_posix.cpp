#include "platform/file.h"

#include <cerrno>

#include <sys/stat.h>
#include <unistd.h>

bool cutFile(std::FILE* file, std::uint64_t size) {
    struct stat status;
    const int number = fileno(file);
    if (fstat(number, &status) != 0)
        return false;
    return !S_ISREG(status.st_mode) || ftruncate(number, static_cast<off_t>(size)) == 0;
}

bool isFolderNeverOpened(const std::string&) {
    return false;
}

std::optional<std::size_t> readFile(std::FILE* file, std::span<char> space) {
    ssize_t count = -1;
    do
        count = read(fileno(file), space.data(), space.size());
    while (count < 0 && errno == EINTR);
    return count < 0 ? std::nullopt : std::optional(static_cast<std::size_t>(count));
}

bool areSameFile(const std::string& a, const std::string& b) {
    struct stat first;
    struct stat second;
    return stat(a.c_str(), &first) == 0 && S_ISREG(first.st_mode) &&
           stat(b.c_str(), &second) == 0 && first.st_dev == second.st_dev &&
           first.st_ino == second.st_ino;
}
