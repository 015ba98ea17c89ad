#pragma once

#include <cstdint>
#include <limits>
#include <string>

namespace SysMem {

/// What is said where the system does not tell.
inline constexpr std::uint64_t kUnlimited = std::numeric_limits<std::uint64_t>::max();

/// Bytes that this process may hold in memory in all before the system has to end a process for
/// the lack of it: what the process holds, and what the machine and the control groups around the
/// process have left. Asks anew at each call; `kUnlimited` where the system does not tell.
///
/// The files of the system are looked up under `root`, which only tests change.
std::uint64_t budgetBytes(const std::string& root = "");

} // namespace SysMem
