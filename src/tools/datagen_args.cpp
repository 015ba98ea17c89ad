#include "base/output.h"
#include "base/text.h"
#include "tools/datagen.h"
#include "tools/messages.h"

#include <algorithm>
#include <cstdlib>

namespace {

// Each of these reads a value into a field and returns what stands behind its number; nothing where
// there is no number at all. Numbers are read leniently: "12x" is 12, "x" is 0. What 64 bits cannot
// hold is the nearest that they can; fields of 32 bits take its low half.

const char* assign(std::int64_t& field, const std::string& text) {
    char* rest = nullptr;
    field = std::strtoll(text.c_str(), &rest, 10);
    return rest == text.c_str() ? "" : rest;
}

const char* assign(std::uint64_t& field, const std::string& text) {
    char* rest = nullptr;
    field = std::strtoull(text.c_str(), &rest, 10);
    return rest == text.c_str() ? "" : rest;
}

const char* assign(std::int32_t& field, const std::string& text) {
    std::int64_t wide = 0;
    const char* rest = assign(wide, text);
    field = static_cast<std::int32_t>(wide);
    return rest;
}

const char* assign(bool& field, const std::string& text) {
    std::int64_t number = 0;
    const char* rest = assign(number, text);
    field = number != 0;
    return rest;
}

const char* assign(std::string& field, const std::string& text) {
    field = text;
    return "";
}

std::string textOf(const std::string& field) {
    return field;
}

template <class Number>
std::string textOf(Number field) {
    return std::to_string(field);
}

template <auto Field>
const char* set(DataGenConfig& config, const std::string& text) {
    return assign(config.*Field, text);
}

template <auto Field>
std::string get(const DataGenConfig& config) {
    return textOf(config.*Field);
}

struct Option {
    std::string_view key;
    const char* (*set)(DataGenConfig& config, const std::string& text); // as `assign`
    std::string (*get)(const DataGenConfig& config);
    std::string_view meaning;
};

template <auto Field>
constexpr Option option(std::string_view key, std::string_view meaning) {
    return {key, set<Field>, get<Field>, meaning};
}

using Config = DataGenConfig;
constexpr Option kOptions[] = {
    option<&Config::games>("games", "games to play"),
    option<&Config::out>("out", "the file; what it holds is replaced with the first game"),
    option<&Config::seed>("seed", "of the first game; each further game has the next one"),
    option<&Config::nodes>("nodes", "no further iteration starts after this many; 0: no bound"),
    option<&Config::maxdepth>("maxdepth", "deepest iteration of a search, 1 to 128"),
    option<&Config::randomplies>("randomplies", "random plies at the start of a game"),
    option<&Config::openingcap>("openingcap", "greatest size of the score of an opening"),
    option<&Config::openingtries>("openingtries", "tries to find one, or the game is discarded"),
    option<&Config::resign>("resign", "a score of this size ..."),
    option<&Config::resignplies>("resignplies", "... for so many plies wins the game"),
    option<&Config::draw>("draw", "a score of at most this size ..."),
    option<&Config::drawplies>("drawplies", "... for so many plies draws it ..."),
    option<&Config::drawmin>("drawmin", "... counted only from this ply on"),
    option<&Config::maxplies>("maxplies", "a game of this length is a draw"),
    option<&Config::evalcap>("evalcap", "positions with a score of this size are left out"),
    option<&Config::skipcheck>("skipcheck", "1: leave out positions in check"),
    option<&Config::skipquiet>("skipquiet", "1: leave out those whose move captures or promotes"),
    option<&Config::score>("score", "1: write the score behind the result"),
    option<&Config::progress>("progress", "games between two reports; 0: none"),
};

const Option* findOption(std::string_view key) {
    const auto found = std::find_if(std::begin(kOptions), std::end(kOptions),
                                    [&](const Option& option) { return option.key == key; });
    return found == std::end(kOptions) ? nullptr : found;
}

bool isBlank(std::string_view text) {
    return text.find_first_not_of(kWhiteSpace) == std::string_view::npos;
}

/// Sets an option. Returns what is to be remarked on: a value of which only a part was read.
std::string apply(const Option& option, const std::string& value, DataGenConfig& config) {
    if (isBlank(option.set(config, value)))
        return "";
    return Messages::dataGenValueCut(std::string(option.key), value, option.get(config));
}

bool isBare(std::string_view argument) {
    return argument.find('=') == std::string_view::npos;
}

} // namespace

bool parseDataGenArgs(std::span<const std::string_view> arguments, DataGenConfig& config) {
    constexpr std::string_view kPositional[] = {"games", "out"};
    std::size_t positional = 0;
    std::string remarks;
    for (const std::string_view view : arguments) {
        const std::string argument(view);
        if (isBare(argument) && positional == std::size(kPositional)) {
            Output::writeError(Messages::dataGenSurplusArgument(argument));
            return false;
        }
        const std::size_t equals = argument.find('=');
        const std::string key =
            isBare(argument) ? std::string(kPositional[positional++]) : argument.substr(0, equals);
        const Option* option = findOption(key);
        if (!option) {
            Output::writeError(Messages::dataGenUnknownKey(key));
            return false;
        }
        remarks += apply(*option, argument.substr(equals + 1), config); // npos + 1 is 0
    }
    Output::writeError(remarks);
    return true;
}

bool asksForDataGenHelp(std::span<const std::string_view> arguments) {
    const auto isFlag = [](std::string_view text) { return text == "--help" || text == "-h"; };
    const auto bare = std::find_if(arguments.begin(), arguments.end(), isBare);
    return std::any_of(arguments.begin(), arguments.end(), isFlag) ||
           (bare != arguments.end() && *bare == "help");
}

void printDataGenHelp() {
    constexpr std::size_t kColumn = 19;
    const DataGenConfig defaults;
    std::string text(Messages::kDataGenUsage);
    for (const Option& option : kOptions) {
        std::string line = "  " + std::string(option.key) + "=" + option.get(defaults);
        line.resize(std::max(line.size() + 1, kColumn), ' ');
        text += line + std::string(option.meaning) + "\n";
    }
    Output::writeError(text);
}
