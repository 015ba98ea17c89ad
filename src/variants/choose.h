#pragma once

#include "variants/variant.h"

#include <span>
#include <string>
#include <string_view>

/// Which variant of the engine runs, and what to say if it is none.
namespace Variants {

/// Pointers to variants, those for older processors first.
using List = std::span<const Variant* const>;

/// What the processor can do.
struct Processor {
    Instructions::Set available;
    bool extractsBitsFast;
};

/// What a variant needs and the processor lacks.
Instructions::Set missing(const Variant& variant, Instructions::Set available);

/// The last variant that the processor runs, and runs fast; null if it runs none.
const Variant* choose(List variants, const Processor& processor);

/// The variant of this name, null if there is none.
const Variant* find(List variants, std::string_view name);

/// The line that refuses a variant because the processor lacks these instructions.
std::string refusal(Instructions::Set missing);

/// The line that refuses a name that no variant has.
std::string unknown(List variants, std::string_view name);

} // namespace Variants
