#include "base/output.h"
#include "platform/console_web.h"
#include "uci/messages.h"
#include "uci/startup.h"
#include "uci/uci.h"
#include "web/evaluate.h"

#include <new>
#include <system_error>

// The program of a worker that may have threads: the loop runs on one, so that the worker's own is
// always free for messages. There are no modes.

namespace {

/// What is not given at the start cannot be made up for, only told.
int run() {
    try {
        initEngine();
        allowEvaluations();
        uciLoop();
        return 0;
    } catch (const std::system_error&) {
        Output::writeError(Messages::kNoThread);
    } catch (const std::bad_alloc&) {
        Output::writeError(Messages::kNoMemory);
    }
    return 1;
}

} // namespace

int main() {
    Console::tellEnd(run());
}

/// Called by the worker's script: a text that somebody has sent to the loop.
extern "C" void morvaneInput(const char* text) {
    Console::addInput(text);
}
