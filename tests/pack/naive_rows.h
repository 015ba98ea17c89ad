#pragma once

#include "pack/cells.h"

#include <cstdint>
#include <map>
#include <span>
#include <stdexcept>
#include <vector>

/// Packed entries read a second time, plainly.
namespace Naive {

/// How often each weight is counted in either sum; may hold zeros.
struct Counts {
    std::map<int, int> mg;
    std::map<int, int> eg;
};

/// The uses of cells, in the order of the entries.
inline std::vector<std::pair<int, int>> usesOf(std::span<const std::uint8_t> entries) {
    std::vector<std::pair<int, int>> uses;
    int cell = 0;
    for (const int entry : entries) {
        if (entry > 251) {
            cell += (entry - 251) * 126;
            continue;
        }
        cell += entry % 126;
        uses.emplace_back(cell, entry < 126 ? 1 : -1);
    }
    return uses;
}

inline Counts countsOf(std::span<const std::uint8_t> entries) {
    Counts counts;
    for (const auto& [cell, count] : usesOf(entries)) {
        const Pack::Cell& used = Pack::kCells.at(static_cast<std::size_t>(cell));
        if (used.mg >= 0)
            counts.mg[used.mg] += count;
        for (const int weight : used.eg)
            if (weight >= 0)
                counts.eg[weight] += count;
    }
    return counts;
}

} // namespace Naive
