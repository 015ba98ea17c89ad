#pragma once

#include "base/files.h"
#include "platform/console.h"

/// Speaks UCI until "quit" or the end of input. Bad input is reported or ignored and never ends the
/// loop.
void uciLoop(Files::LineReader::Source source = Console::read);
