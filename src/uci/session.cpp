#include "uci/session.h"

#include "base/output.h"
#include "search/thread.h"

void infoString(const std::string& message) {
    Output::write("info string " + message + "\n");
    Output::writeDiagnostic(message + "\n");
}

void stopSearch() {
    gStopSearch = true;
    gThreads.waitForSearchFinished();
}
