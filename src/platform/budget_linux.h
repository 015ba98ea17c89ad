#pragma once

#include <cstdint>
#include <string>

namespace SysMem {

/// `budgetBytes` by the files of a system that lie under `root`; tests write some of their own.
std::uint64_t budgetBytesUnder(const std::string& root);

} // namespace SysMem
