#include "variants/choose.h"

#include "uci/instructionnames.h"
#include "uci/messages.h"

namespace Variants {

Instructions::Set missing(const Variant& variant, Instructions::Set available) {
    return *variant.needed & ~available;
}

const Variant* choose(List variants, const Processor& processor) {
    const Variant* chosen = nullptr;
    for (const Variant* variant : variants)
        if (missing(*variant, processor.available) == 0 &&
            (processor.extractsBitsFast || !variant->extractsBits))
            chosen = variant;
    return chosen;
}

const Variant* find(List variants, std::string_view name) {
    for (const Variant* variant : variants)
        if (variant->name == name)
            return variant;
    return nullptr;
}

std::string refusal(Instructions::Set missing) {
    return std::string(Messages::kProcessorLacks) + instructionNames(missing) +
           std::string(Messages::kProcessorAdvice);
}

std::string unknown(List variants, std::string_view name) {
    std::string names;
    for (const Variant* variant : variants)
        names += std::string(" ") + variant->name;
    return Messages::unknownVariant(name, names);
}

} // namespace Variants
