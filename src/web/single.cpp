#include "base/output.h"
#include "uci/messages.h"
#include "uci/startup.h"
#include "uci/uci.h"
#include "web/evaluate.h"

#include <new>

// The program of a worker in a browser that gives it no threads: its script calls for each line.
extern "C" {

/// Called first. Returns whether there is memory for the engine.
bool morvaneBegin() {
    try {
        initEngine();
        beginSession();
        return true;
    } catch (const std::bad_alloc&) {
        Output::writeError(Messages::kNoMemory);
    }
    return false;
}

/// Serves a line; returns false on "quit". A search ends before this returns.
bool morvaneLine(const char* line) {
    return serveLine(line);
}

/// Called first, instead of `morvaneBegin`, where positions are only to be evaluated.
void morvaneBeginTables() {
    initTables();
    allowEvaluations();
}

} // extern "C"
