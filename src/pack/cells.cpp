#include "pack/cells.h"

namespace Pack {

namespace {

template <std::size_t N>
void appendWeights(std::string& text, const std::int16_t (&weights)[N]) {
    text += '[';
    bool first = true;
    for (const std::int16_t weight : weights) {
        if (weight == kNoWeight)
            continue;
        if (!first)
            text += ", ";
        text += std::to_string(weight);
        first = false;
    }
    text += ']';
}

} // namespace

std::string cellsJson() {
    std::string text = "[";
    for (const Cell& cell : kCells) {
        if (text.size() > 1)
            text += ", ";
        text += '[';
        appendWeights(text, {cell.mg});
        text += ", ";
        appendWeights(text, cell.eg);
        text += ']';
    }
    return text + ']';
}

} // namespace Pack
