#include "platform/console_web.h"
#include "uci/startup.h"
#include "uci/uci.h"

// The program of a worker that may have threads: the loop runs on one, so that the worker's own is
// always free for messages. There are no modes.

int main() {
    Console::tellEnd(runEngine([] {
        Console::tellBegin();
        uciLoop();
        return 0;
    }));
}

/// Called by the worker's script: a text that somebody has sent to the loop.
extern "C" void morvaneInput(const char* text) {
    Console::addInput(text);
}
