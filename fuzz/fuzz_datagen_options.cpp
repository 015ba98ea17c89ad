#include "capture.h"
#include "support.h"
#include "tools/datagen.h"

#include <algorithm>
#include <limits>
#include <string>
#include <tuple>
#include <vector>

/// The input is a list of arguments of data generation, ended by line feeds or zero bytes. A second
/// reader says what each option has to be afterwards, or what has to be said.
namespace {

using Fuzz::require;

/// Digits behind blanks and a sign, and the rest ignored: a number as the C library reads it.
struct Number {
    bool negative = false;
    unsigned __int128 magnitude = 0;
    bool isCut = false; // more than blanks stands behind it

    static bool isBlank(char c) { return c == ' ' || (c >= 9 && c <= 13); }

    explicit Number(std::string_view text) {
        while (!text.empty() && isBlank(text.front()))
            text.remove_prefix(1);
        negative = text.starts_with('-');
        if (negative || text.starts_with('+'))
            text.remove_prefix(1);
        constexpr auto kEnough = static_cast<unsigned __int128>(1) << 100;
        const std::size_t all = text.size();
        for (; !text.empty() && text.front() >= '0' && text.front() <= '9'; text.remove_prefix(1))
            if (magnitude < kEnough)
                magnitude = magnitude * 10 + static_cast<unsigned>(text.front() - '0');
        isCut = text.size() < all && !std::all_of(text.begin(), text.end(), isBlank);
    }

    /// The nearest of 64 bits.
    std::int64_t asSigned() const {
        using Limits = std::numeric_limits<std::int64_t>;
        if (magnitude > static_cast<std::uint64_t>(Limits::max()))
            return negative ? Limits::min() : Limits::max();
        const auto value = static_cast<std::int64_t>(magnitude);
        return negative ? -value : value;
    }

    /// The greatest if it is too large, whatever its sign; negative numbers come from above.
    std::uint64_t asUnsigned() const {
        const std::uint64_t most = std::numeric_limits<std::uint64_t>::max();
        if (magnitude > most)
            return most;
        const auto value = static_cast<std::uint64_t>(magnitude);
        return negative ? ~value + 1 : value;
    }

    std::int32_t low32() const {
        const std::int64_t rest = asSigned() & 0xFFFFFFFF;
        return static_cast<std::int32_t>(rest < 0x80000000 ? rest : rest - 0x100000000);
    }
};

std::int32_t* smallNumber(DataGenConfig& c, std::string_view key) {
    return key == "maxdepth"       ? &c.maxdepth
           : key == "randomplies"  ? &c.randomplies
           : key == "openingcap"   ? &c.openingcap
           : key == "openingtries" ? &c.openingtries
           : key == "resign"       ? &c.resign
           : key == "resignplies"  ? &c.resignplies
           : key == "draw"         ? &c.draw
           : key == "drawplies"    ? &c.drawplies
           : key == "drawmin"      ? &c.drawmin
           : key == "maxplies"     ? &c.maxplies
           : key == "evalcap"      ? &c.evalcap
                                   : nullptr;
}

std::int64_t* largeNumber(DataGenConfig& c, std::string_view key) {
    return key == "games"      ? &c.games
           : key == "nodes"    ? &c.nodes
           : key == "progress" ? &c.progress
                               : nullptr;
}

bool* toggle(DataGenConfig& c, std::string_view key) {
    return key == "skipcheck"   ? &c.skipcheck
           : key == "skipquiet" ? &c.skipquiet
           : key == "score"     ? &c.score
                                : nullptr;
}

/// Sets one option and adds what is remarked on. Returns false if there is none of this name.
bool set(DataGenConfig& c, std::string_view key, std::string_view value, std::string& remarks) {
    const Number number(value);
    std::string read;
    if (std::int32_t* small = smallNumber(c, key))
        read = std::to_string(*small = number.low32());
    else if (std::int64_t* large = largeNumber(c, key))
        read = std::to_string(*large = number.asSigned());
    else if (bool* on = toggle(c, key))
        read = (*on = number.magnitude != 0) ? "1" : "0";
    else if (key == "seed")
        read = std::to_string(c.seed = number.asUnsigned());
    else if (key == "out")
        c.out = value;
    else
        return false;
    if (number.isCut && key != "out")
        remarks += "datagen: " + std::string(key) + "=" + std::string(value) + " — прочитано як " +
                   read + "\n";
    return true;
}

struct Verdict {
    bool accepted;
    std::string message; // why not, or the remarks
};

Verdict readNaively(const std::vector<std::string_view>& arguments, DataGenConfig& config) {
    int bare = 0;
    std::string remarks;
    for (const std::string_view argument : arguments) {
        const std::size_t sign = argument.find('=');
        const std::string_view key = argument.substr(0, sign);
        if (sign == std::string_view::npos) {
            if (++bare > 2)
                return {false, "datagen: зайвий аргумент: " + std::string(argument) + "\n"};
            set(config, bare == 1 ? "games" : "out", argument, remarks);
        } else if (!set(config, key, argument.substr(sign + 1), remarks)) {
            return {false, "datagen: невідомий параметр: " + std::string(key) + "\n"};
        }
    }
    return {true, remarks};
}

auto fieldsOf(const DataGenConfig& c) {
    return std::tie(c.games, c.out, c.seed, c.nodes, c.maxdepth, c.randomplies, c.openingcap,
                    c.openingtries, c.resign, c.resignplies, c.draw, c.drawplies, c.drawmin,
                    c.maxplies, c.evalcap, c.skipcheck, c.skipquiet, c.score, c.progress);
}

std::vector<std::string_view> split(std::string_view text) {
    std::vector<std::string_view> arguments;
    while (!text.empty()) {
        const std::size_t end =
            std::min(text.find_first_of(std::string_view("\n\0", 2)), text.size());
        arguments.push_back(text.substr(0, end));
        text.remove_prefix(std::min(end + 1, text.size()));
    }
    return arguments;
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    const std::vector<std::string_view> arguments = split(Fuzz::textOf(data, size));
    DataGenConfig wanted;
    const Verdict verdict = readNaively(arguments, wanted);

    DataGenConfig config;
    const Capture output(STDOUT_FILENO);
    const Capture errors(STDERR_FILENO);
    const bool accepted = parseDataGenArgs(arguments, config);
    require(accepted == verdict.accepted, "both readers accept the same arguments");
    require(errors.text() == verdict.message, "what is refused or cut is told", verdict.message);
    require(output.text().empty(), "standard output stays empty");
    if (accepted)
        require(fieldsOf(config) == fieldsOf(wanted), "both readers set the same options");
    return 0;
}
