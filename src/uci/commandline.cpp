#include "uci/commandline.h"

#include "base/output.h"
#include "uci/build_info.h"
#include "uci/messages.h"
#include "uci/modes.h"
#include "uci/uci.h"

#include <algorithm>
#include <string>

namespace {

using Arguments = std::span<const std::string_view>;

/// The mode of this name, null if there is none.
const Mode* findMode(std::string_view word) {
    const auto found = std::find_if(modes().begin(), modes().end(),
                                    [&](const Mode& mode) { return mode.word == word; });
    return found == modes().end() ? nullptr : &*found;
}

/// Words that start the loop as all others that are no mode, after an answer.
constexpr std::string_view kHelpWords[] = {"--help", "-h", "help"};
constexpr std::string_view kVersionWords[] = {"--version", "-v"};

bool isOneOf(std::string_view word, std::span<const std::string_view> words) {
    return std::find(words.begin(), words.end(), word) != words.end();
}

std::string nameAndVersion() {
    return std::string(Messages::kName) + " " + std::string(BuildInfo::kVersion);
}

std::string help() {
    constexpr std::size_t kColumn = 39;
    std::string text = nameAndVersion() + std::string(Messages::kHelpIntroduction);
    for (const Mode& mode : modes()) {
        std::string line = "  morvane " + std::string(mode.word);
        line += ' ';
        line += mode.usage;
        line.resize(std::max(line.size() + 1, kColumn), ' ');
        text += line + std::string(mode.meaning) + "\n";
    }
    return text + std::string(Messages::kHelpPages) + std::string(Messages::kLoopRuns);
}

/// What to tell a person before the loop starts; nothing for clients, which need no arguments.
std::string introduction(Arguments arguments) {
    if (arguments.empty())
        return Output::isInteractive() ? nameAndVersion() + std::string(Messages::kGreeting) : "";
    const std::string_view word = arguments[0];
    if (isOneOf(word, kHelpWords))
        return help();
    if (isOneOf(word, kVersionWords))
        return BuildInfo::describe() + std::string(Messages::kLoopRuns);
    if (const Mode* mode = findMode(word))
        return Messages::argumentsMissing(mode->word, mode->usage);
    return Messages::unknownMode(word);
}

} // namespace

int runCommandLine(Arguments arguments) {
    const Mode* mode = arguments.empty() ? nullptr : findMode(arguments[0]);
    if (mode && arguments.size() > static_cast<std::size_t>(mode->arguments))
        return mode->run(arguments.subspan(1));
    Output::writeDiagnostic(introduction(arguments));
    uciLoop();
    return 0;
}
