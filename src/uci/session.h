#pragma once

#include <string>

/// What the commands and the options of a session share.

/// Sends a diagnostic to the client as an info string and to standard error.
void infoString(const std::string& message);

/// Ends a running search and waits for its answer; returns at once when there is none.
void stopSearch();
