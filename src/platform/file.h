#pragma once

#include <cstddef>
#include <cstdint>
#include <cstdio>
#include <memory>
#include <optional>
#include <span>
#include <string>

struct FileCloser {
    void operator()(std::FILE* file) const { std::fclose(file); }
};

/// An open file of the C library, closed at the end.
using OwnedFile = std::unique_ptr<std::FILE, FileCloser>;

/// Cuts an open file to a size in bytes: the file itself, since its name may belong to another by
/// now. Devices and pipes have no size to cut, which is no failure. Returns false if the system
/// refuses.
bool cutFile(std::FILE* file, std::uint64_t size);

/// Whether the system did not open a file because it is a folder: some open folders and refuse to
/// read from them.
bool isFolderNeverOpened(const std::string& path);

/// Reads from an open file, past the C library, what there is, at most as much as fits. Returns the
/// number of bytes, 0 at the end, nothing if reading fails.
std::optional<std::size_t> readFile(std::FILE* file, std::span<char> space);

/// Whether both paths lead to one regular file: what reads the first and writes the second would
/// destroy it.
bool areSameFile(const std::string& a, const std::string& b);
