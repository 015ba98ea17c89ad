#include "tools/dataline.h"

#include "base/parse.h"

namespace {

struct ResultText {
    std::string_view text;
    double value;
};

constexpr ResultText kResults[] = {{"1.0", 1.0}, {"0.5", 0.5}, {"0.0", 0.0}};

void trimEnd(std::string_view& text) {
    text = text.substr(0, text.find_last_not_of(" \t\r\n") + 1);
}

bool endsWithField(std::string_view text) {
    return !text.empty() && text.back() == ']';
}

/// Cuts the field in brackets, and white space before it, off the end of the text.
bool takeField(std::string_view& text, std::string_view& field) {
    const std::size_t open = text.rfind('[');
    if (!endsWithField(text) || open == std::string_view::npos)
        return false;
    field = text.substr(open + 1, text.size() - open - 2);
    text = text.substr(0, open);
    trimEnd(text);
    return true;
}

bool parseResult(std::string_view field, double& out) {
    for (const auto& [text, value] : kResults)
        if (field == text) {
            out = value;
            return true;
        }
    return false;
}

} // namespace

bool parseDataGenLine(std::string_view line, DataGenSample& sample) {
    trimEnd(line);
    std::string_view result;
    std::string_view score;
    if (!takeField(line, result))
        return false;
    sample.hasScore = endsWithField(line);
    if (sample.hasScore) {
        score = result;
        if (!takeField(line, result))
            return false;
    }
    sample.score = 0;
    if (!parseResult(result, sample.result) ||
        (sample.hasScore && !parseIntStrict(score, sample.score)))
        return false;
    sample.fen = line;
    return !sample.fen.empty();
}

void appendDataGenLine(std::string& text, const DataGenSample& sample) {
    text += sample.fen;
    for (const auto& [result, value] : kResults)
        if (sample.result == value)
            text += " [" + std::string(result) + "]";
    if (sample.hasScore)
        text += " [" + std::to_string(sample.score) + "]";
    text += '\n';
}
