#pragma once

#include <cstdint>
#include <cstdio>

/// Cuts an open file to a size in bytes: the file itself, since its name may belong to another by
/// now. Devices and pipes have no size to cut, which is no failure. Returns false if the system
/// refuses.
bool cutFile(std::FILE* file, std::uint64_t size);
