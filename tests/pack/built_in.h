#pragma once

#include "pack/entries.h"

#include <array>
#include <memory>

/// The weights of this build, for packing with them.
namespace BuiltIn {

inline std::array<int, Tune::NPARAMS> weights() {
    std::array<int, Tune::NPARAMS> values{};
    Tune::initValues(values.data());
    return values;
}

inline const Pack::EntryReader& reader() {
    static const auto kReader = std::make_unique<Pack::EntryReader>(weights());
    return *kReader;
}

} // namespace BuiltIn
