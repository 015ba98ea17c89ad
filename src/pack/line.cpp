#include "pack/line.h"

#include <algorithm>

namespace Pack {

namespace {

// A FEN with a longer counter is refused.
constexpr std::size_t kMaxDigits = 9;

constexpr std::string_view kResults[] = {"[1.0]", "[0.5]", "[0.0]"};

bool isDigit(char c) {
    return c >= '0' && c <= '9';
}

bool isNumber(std::string_view text) {
    return !text.empty() && std::all_of(text.begin(), text.end(), isDigit);
}

/// Cuts a field and the blank behind it off the front of the line; empty if there is none.
std::string_view takeField(std::string_view& line) {
    const std::size_t end = line.find(' ');
    if (end == std::string_view::npos)
        return {};
    const std::string_view field = line.substr(0, end);
    line.remove_prefix(end + 1);
    return field;
}

/// Whether a field has neither white space nor control characters.
bool isWord(std::string_view field) {
    return !field.empty() && std::all_of(field.begin(), field.end(), [](char c) {
        return static_cast<unsigned char>(c) > ' ';
    });
}

/// Whether the text is a score in brackets, "[-23]".
bool isScore(std::string_view text) {
    if (text.size() < 3 || text.front() != '[' || text.back() != ']')
        return false;
    text = text.substr(1, text.size() - 2);
    if (text.front() == '-')
        text.remove_prefix(1);
    return isNumber(text);
}

} // namespace

bool isLineOfDataGen(std::string_view line, std::int64_t& moveNumber) {
    const std::string_view placement = takeField(line);
    const std::string_view side = takeField(line);
    const std::string_view castling = takeField(line);
    const std::string_view enPassant = takeField(line);
    const std::string_view clock = takeField(line);
    const std::string_view number = takeField(line);
    if (!isWord(placement) || (side != "w" && side != "b") || !isWord(castling) ||
        !isWord(enPassant) || !isNumber(clock) || !isNumber(number))
        return false;
    moveNumber = 0;
    for (const char c : number.substr(0, kMaxDigits))
        moveNumber = moveNumber * 10 + (c - '0');
    const std::string_view result = line.substr(0, kResults[0].size());
    if (std::find(std::begin(kResults), std::end(kResults), result) == std::end(kResults))
        return false;
    line.remove_prefix(result.size());
    return line.empty() || (line.front() == ' ' && isScore(line.substr(1)));
}

} // namespace Pack
