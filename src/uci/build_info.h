#pragma once

#include <string>
#include <string_view>

/// What this executable is and how it was built.
namespace BuildInfo {

/// As the build system has it, for example "1.2.3".
extern const std::string_view kVersion;

/// Version, source revision if it is known, compiler, architecture, the instruction sets beyond its
/// baseline that the program needs, and whether it was optimised by a profile: whole lines.
std::string describe();

} // namespace BuildInfo
