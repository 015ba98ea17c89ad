#include "params/layout.h"

namespace WeightLayout {

namespace {

char letterOf(int piece) {
    return pieceLetter(White, static_cast<Piece>(piece));
}

std::string nameInBlock(const Block& block, int row, int column) {
    std::string text(block.name);
    switch (block.naming) {
    case Naming::Plain:
        return text;
    case Naming::Number:
        return text + std::to_string(column);
    case Naming::Piece:
        return text + letterOf(row);
    case Naming::PieceSquare:
        return text + letterOf(row) + '_' + std::to_string(column);
    }
    return text;
}

} // namespace

std::string name(int index) {
    if (index < 0)
        return {};
    for (const Block& block : kBlocks) {
        if (index < block.size())
            return nameInBlock(block, index / block.columns, index % block.columns);
        index -= block.size();
    }
    return {};
}

} // namespace WeightLayout
