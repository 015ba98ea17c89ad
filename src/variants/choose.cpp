#include "variants/choose.h"

#include "uci/messages.h"

namespace Variants {

namespace {

bool runs(const Variant& variant, Instructions::Set available) {
    return (*variant.needed & ~available) == 0;
}

} // namespace

const Variant* choose(List variants, const Processor& processor) {
    const Variant* chosen = nullptr;
    for (const Variant* variant : variants)
        if (runs(*variant, processor.available) &&
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

std::string refusal(const Variant& variant, Instructions::Set available) {
    std::string line(Messages::kProcessorLacks);
    for (unsigned row = 0; row < Instructions::kCount; ++row)
        if ((*variant.needed & ~available) >> row & 1)
            line += std::string(" ") + Instructions::kNames[row];
    return line + std::string(Messages::kProcessorAdvice);
}

std::string unknown(List variants, std::string_view name) {
    std::string names;
    for (const Variant* variant : variants)
        names += std::string(" ") + variant->name;
    return Messages::unknownVariant(name, names);
}

} // namespace Variants
