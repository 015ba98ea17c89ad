#include "uci/program.h"
#include "variants/variant.h"

namespace {

#ifdef MORVANE_PEXT
constexpr bool kExtractsBits = true;
#else
constexpr bool kExtractsBits = false;
#endif

} // namespace

// Nothing in the variant itself refers to it.
[[gnu::externally_visible]] extern const Variant kVariant;

const Variant kVariant = {MORVANE_VARIANT, &Instructions::kNeeded, kExtractsBits, runProgram};
