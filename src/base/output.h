#pragma once

#include <string_view>

/// The one way to the standard streams. Each call writes its whole text at once, so lines written
/// by different threads never mix. Texts hold whole lines.
namespace Output {

/// Keeps files from taking the places of closed standard streams and a reader that has gone from
/// ending the program in the middle of something, and lets bytes pass as they are. Called once at
/// program start, before any output.
void init();

/// Writes to standard output. If that cannot be done nobody listens any more, and the process ends
/// at once with status 1: a search must not run on for nobody.
void write(std::string_view text);

/// The same, but returns false if it could not.
bool tryWrite(std::string_view text);

/// Writes to standard error. A failure has no consequence.
void writeError(std::string_view text);

/// Writes to standard error what a client is also told in another way: does not wait for a reader
/// who does not read.
void writeDiagnostic(std::string_view text);

/// Whether a person sits there: standard input and standard error both are a terminal.
bool isInteractive();

} // namespace Output
