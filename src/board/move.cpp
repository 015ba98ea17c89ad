#include "board/move.h"

namespace {

constexpr std::string_view kPromotionLetters = kPieceLetters.substr(Knight, 4);

bool isSquare(char file, char rank) {
    return file >= 'a' && file <= 'h' && rank >= '1' && rank <= '8';
}

} // namespace

void appendSquare(std::string& text, Square sq) {
    text += static_cast<char>('a' + fileOf(sq));
    text += static_cast<char>('1' + rankOf(sq));
}

std::string moveToString(Move m) {
    if (m == 0)
        return "0000";
    std::string text;
    appendSquare(text, fromSquare(m));
    appendSquare(text, toSquare(m));
    if (isPromotion(m))
        text += kPieceLetters[static_cast<std::size_t>(promotedPiece(m))];
    return text;
}

Move parseUCIMove(std::string_view text) {
    if (text.size() < 4 || !isSquare(text[0], text[1]) || !isSquare(text[2], text[3]))
        return 0;
    const Square from = makeSquare(text[0] - 'a', text[1] - '1');
    const Square to = makeSquare(text[2] - 'a', text[3] - '1');
    if (text.size() == 4)
        return encodeMove(from, to);
    const std::size_t piece = kPromotionLetters.find(text[4]);
    if (piece == std::string_view::npos)
        return 0;
    return encodeMove(from, to, FlagPromotion + static_cast<std::uint32_t>(piece));
}
