#include "uci/program.h"

#include "base/output.h"
#include "platform/thread.h"
#include "uci/commandline.h"
#include "uci/messages.h"
#include "uci/startup.h"

#include <new>
#include <string_view>
#include <system_error>
#include <vector>

namespace {

/// What the machine does not give at the start cannot be made up for, only told.
int run(std::span<const std::string_view> arguments) {
    try {
        initEngine();
        return runCommandLine(arguments);
    } catch (const std::system_error&) {
        Output::writeError(Messages::kNoThread);
    } catch (const std::bad_alloc&) {
        Output::writeError(Messages::kNoMemory);
    }
    return 1;
}

} // namespace

int runProgram(int argc, char** argv) {
    Output::init();
    const std::vector<std::string_view> arguments(argv + (argc > 0 ? 1 : 0), argv + argc);
    int status = 1;
    callOnLargeStack([&] { status = run(arguments); });
    return status;
}
