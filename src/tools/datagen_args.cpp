#include "base/output.h"
#include "tools/datagen.h"
#include "tools/messages.h"

#include <cstdlib>

namespace {

// Numbers are read leniently: "12x" is 12, "x" is 0, and what is too large is the largest.
void assign(std::int64_t& field, const std::string& text) {
    field = std::strtoll(text.c_str(), nullptr, 10);
}

void assign(std::uint64_t& field, const std::string& text) {
    field = std::strtoull(text.c_str(), nullptr, 10);
}

void assign(std::int32_t& field, const std::string& text) {
    field = static_cast<std::int32_t>(std::strtoll(text.c_str(), nullptr, 10));
}

void assign(bool& field, const std::string& text) {
    field = std::strtoll(text.c_str(), nullptr, 10) != 0;
}

void assign(std::string& field, const std::string& text) {
    field = text;
}

template <auto Field>
void set(DataGenConfig& config, const std::string& text) {
    assign(config.*Field, text);
}

struct Option {
    std::string_view key;
    void (*set)(DataGenConfig& config, const std::string& text);
};

using Config = DataGenConfig;
constexpr Option kOptions[] = {
    {"games", set<&Config::games>},
    {"out", set<&Config::out>},
    {"seed", set<&Config::seed>},
    {"nodes", set<&Config::nodes>},
    {"maxdepth", set<&Config::maxdepth>},
    {"randomplies", set<&Config::randomplies>},
    {"openingcap", set<&Config::openingcap>},
    {"openingtries", set<&Config::openingtries>},
    {"resign", set<&Config::resign>},
    {"resignplies", set<&Config::resignplies>},
    {"draw", set<&Config::draw>},
    {"drawplies", set<&Config::drawplies>},
    {"drawmin", set<&Config::drawmin>},
    {"maxplies", set<&Config::maxplies>},
    {"evalcap", set<&Config::evalcap>},
    {"skipcheck", set<&Config::skipcheck>},
    {"skipquiet", set<&Config::skipquiet>},
    {"score", set<&Config::score>},
    {"progress", set<&Config::progress>},
};

bool setOption(DataGenConfig& config, const std::string& key, const std::string& value) {
    for (const Option& option : kOptions)
        if (option.key == key) {
            option.set(config, value);
            return true;
        }
    return false;
}

} // namespace

bool parseDataGenArgs(std::span<const std::string_view> arguments, DataGenConfig& config) {
    constexpr std::string_view kPositional[] = {"games", "out"};
    std::size_t positional = 0;
    for (const std::string_view view : arguments) {
        const std::string argument(view);
        const std::size_t equals = argument.find('=');
        if (equals != std::string::npos) {
            const std::string key = argument.substr(0, equals);
            if (!setOption(config, key, argument.substr(equals + 1))) {
                Output::writeError(Messages::dataGenUnknownKey(key));
                return false;
            }
        } else if (positional < std::size(kPositional)) {
            setOption(config, std::string(kPositional[positional++]), argument);
        } else {
            Output::writeError(Messages::dataGenSurplusArgument(argument));
            return false;
        }
    }
    return true;
}
