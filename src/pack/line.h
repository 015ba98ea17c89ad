#pragma once

#include <cstdint>
#include <string_view>

namespace Pack {

/// Whether a line, without its end, has the form that `morvane datagen` writes: a FEN of six fields
/// with one blank between two, the result, and the score or none. What the fields say is not looked
/// at. Gives the move number, as far as it is one that a FEN may have.
bool isLineOfDataGen(std::string_view line, std::int64_t& moveNumber);

} // namespace Pack
