#include "base/output.h"
#include "selfcheck/checks.h"
#include "selfcheck/loop.h"
#include "uci/startup.h"

#include <span>
#include <string>
#include <string_view>

namespace {

using Arguments = std::span<char* const>;

struct Check {
    std::string_view name;
    std::size_t arguments;
    bool (*fails)(Arguments arguments);
};

constexpr Check kChecks[] = {
    {"picker", 0, [](Arguments) { return runMovePickerOrderTest(); }},
    {"tune", 0, [](Arguments) { return runTuneVerify() != 0; }},
    {"eval", 0, [](Arguments) { return runEvalChecks(); }},
    {"loop", 3, [](Arguments files) { return runLoopCheck(files[0], files[1], files[2]); }},
    {"evaluate", 1, [](Arguments files) { return runEvaluate(files[0]); }},
};

} // namespace

/// The engine's checks of itself, one by name: prints what it finds and ends with status 1 if
/// something differs.
int main(int argc, char** argv) {
    const auto arguments = Arguments(argv, static_cast<std::size_t>(argc)).subspan(1);
    Output::init();
    initEngine();
    for (const Check& check : kChecks)
        if (!arguments.empty() && arguments[0] == check.name &&
            arguments.size() == check.arguments + 1)
            return check.fails(arguments.subspan(1)) ? 1 : 0;
    Output::writeError("usage: morvane_selfcheck picker|tune|eval\n"
                       "       morvane_selfcheck loop DATA ROWS PARAMS\n"
                       "       morvane_selfcheck evaluate DATA\n");
    return 2;
}
