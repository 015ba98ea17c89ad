#include "uci/startup.h"
#include "uci/uci.h"

// The program of a worker in a browser that gives it no threads: its script calls for each line.
extern "C" {

/// Called first. Returns whether there is memory for the engine.
bool morvaneBegin() {
    return runEngine([] {
               beginSession();
               return 0;
           }) == 0;
}

/// Serves a line; returns false on "quit". A search ends before this returns.
bool morvaneLine(const char* line) {
    return serveLine(line);
}

/// Called first, instead of `morvaneBegin`, where positions are only to be evaluated.
void morvaneBeginTables() {
    initTables();
}

} // extern "C"
