#pragma once

#include "platform/cpu.h"

#include <string>

/// The names of instruction sets, each with a blank before it.
inline std::string instructionNames(Instructions::Set sets) {
    std::string names;
    for (unsigned row = 0; row < Instructions::kCount; ++row)
        if (sets >> row & 1)
            names += std::string(" ") + Instructions::kNames[row];
    return names;
}
