#include "uci/program.h"

#include "base/output.h"
#include "platform/thread.h"
#include "uci/commandline.h"
#include "uci/startup.h"

#include <string_view>
#include <vector>

int runProgram(int argc, char** argv) {
    Output::init();
    const std::vector<std::string_view> arguments(argv + (argc > 0 ? 1 : 0), argv + argc);
    int status = 1;
    callOnLargeStack([&] { status = runEngine([&] { return runCommandLine(arguments); }); });
    return status;
}
