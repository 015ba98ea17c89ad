#pragma once

#include "pack/rows.h"

#include <cstdint>
#include <string>
#include <string_view>

/// What the packer says, in one place: a line for each fault.
namespace Pack::Messages {

inline constexpr std::string_view kName = "morvane_pack: ";

inline constexpr std::string_view kUsage =
    "Usage: morvane_pack OUT --listing FILE [--threads N]   (data of morvane datagen come in)\n"
    "       morvane_pack --cells\n";

inline constexpr std::string_view kInputNotRead = "standard input cannot be read";
inline constexpr std::string_view kNoPositions = "no positions came in";
inline constexpr std::string_view kReportNotWritten = "standard output cannot be written";
inline constexpr std::string_view kNoThread = "the system gives no thread";
inline constexpr std::string_view kNoMemory = "not enough memory";

inline std::string listingNotRead(std::string_view path) {
    return std::string(path) + ": cannot be read";
}

inline std::string noListing(std::string_view path) {
    return std::string(path) + ": not a listing of this build's weights (morvane tuneparams)";
}

inline std::string outNotCreated(std::string_view path) {
    return std::string(path) + ": exists, or cannot be created";
}

inline std::string outNotWritten(std::string_view path) {
    return std::string(path) + ": cannot be written whole";
}

/// What is wrong with a line of data, with its beginning.
std::string badLine(std::uint64_t number, Fault fault, std::string_view line);

} // namespace Pack::Messages
