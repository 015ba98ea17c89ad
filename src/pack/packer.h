#pragma once

#include "pack/entries.h"
#include "pack/segment.h"

#include <cstddef>
#include <optional>
#include <span>
#include <string>

namespace Pack {

/// Reads what there is, at most as much as fits, as Console::read does.
using Source = std::optional<std::size_t> (*)(std::span<char> space);

/// Packs all lines of a source into a new file, by so many threads. Returns what is wrong, a line
/// without its end; then there is no file. Empty if all is well. Throws what the system throws
/// that gives no memory or no thread.
std::string packAll(Source source, const std::string& out, const EntryReader& reader,
                    std::size_t threads, Totals& totals);

/// What `morvane_pack` does, as `main` gets its arguments. Returns the exit status.
int runPacker(int argc, char** argv);

} // namespace Pack
