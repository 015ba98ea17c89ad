#pragma once

#include <cstdint>
#include <cstdio>
#include <string>

/// Cuts an open file to a size in bytes: the file itself, since its name may belong to another by
/// now. Devices and pipes have no size to cut, which is no failure. Returns false if the system
/// refuses.
bool cutFile(std::FILE* file, std::uint64_t size);

/// Whether the system did not open a file because it is a folder: some open folders and refuse to
/// read from them.
bool isFolderNeverOpened(const std::string& path);
