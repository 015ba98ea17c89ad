#pragma once

#include "tools/tune.h"

#include <array>
#include <string_view>

namespace Pack {

/// Reads what `morvane tuneparams` prints. Returns false if the text is anything else: other names,
/// another number of weights, values that are no centipawns.
bool parseListing(std::string_view text, std::array<int, Tune::NPARAMS>& weights);

} // namespace Pack
