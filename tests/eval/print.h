#pragma once

#include "params/psq.h"

#include <ostream>

/// How GoogleTest shows a pair; found by its name.
inline void PrintTo(const ScorePair& pair, std::ostream* out) {
    *out << pair.mg << " / " << pair.eg;
}
