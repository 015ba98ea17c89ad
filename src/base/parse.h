#pragma once

#include <string_view>

/// Parses `text` as one signed decimal 32-bit integer and nothing else. White space around the
/// number and one sign are allowed. Returns false, and leaves `out` untouched, on anything else:
/// empty text, a sign alone, a character that is no digit, a value outside the 32-bit range.
bool parseIntStrict(std::string_view text, int& out);
