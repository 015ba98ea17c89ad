#include "platform/console.h"

#include <emscripten.h>

// The standard streams of a program that runs in a worker. What is written goes to the worker's
// script, which gives `Module.write`; what is read comes from it (console_web_threads.cpp, and
// where there are no threads src/web/single.cpp).
namespace Console {

void fillClosedStreams() {}
void passBytesUnchanged() {}
void ignoreWriteSignals() {}

// Whichever thread writes, the script's own does it, and the writer waits for it: so lines keep
// their order.
bool write(Stream stream, std::string_view text) {
    MAIN_THREAD_EM_ASM({ Module["write"]($0, UTF8ToString($1, $2)); }, static_cast<int>(stream),
                       text.data(), text.size());
    return true;
}

bool waitUntilReady(Stream, int) {
    return true;
}

bool isTerminal(Stream) {
    return false;
}

} // namespace Console
