#pragma once

#include <string_view>

namespace Console {

/// Adds a text to what `read` finds. From any thread; never waits for a reader.
void addInput(std::string_view text);

/// Tells the worker's script that the program has begun: its tables are filled.
void tellBegin();

/// Tells it that the program has ended, with a status as `main` returns it.
void tellEnd(int status);

} // namespace Console
