#include "params/layout.h"

namespace WeightLayout {

namespace {

constexpr char kPieceLetters[] = "PNBRQK";

std::string nameInBlock(const Block& block, int row, int column) {
    std::string text(block.name);
    switch (block.naming) {
    case Naming::Plain:
        return text;
    case Naming::Number:
        return text + std::to_string(column);
    case Naming::Piece:
        return text + kPieceLetters[row];
    case Naming::PieceSquare:
        return text + kPieceLetters[row] + '_' + std::to_string(column);
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
