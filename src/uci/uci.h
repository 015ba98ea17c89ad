#pragma once

#include "base/files.h"
#include "platform/console.h"

#include <string_view>

/// Speaks UCI until "quit" or the end of input. Bad input is reported or ignored and never ends the
/// loop.
void uciLoop(Files::LineReader::Source source = Console::read);

/// The same a line at a time, for programs to whom lines come by calls: `beginSession` once, then
/// `serveLine` for each, without its line end, which returns false on "quit".
void beginSession();
bool serveLine(std::string_view line);
