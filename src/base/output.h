#pragma once

#include <string_view>

/// The one way to standard output. Each call writes its whole text at once and flushes it, so
/// lines written by different threads never mix.
namespace Output {

/// Makes every later call one write to the operating system whatever the text's length, and keeps
/// files from taking the places of closed standard streams. Called once at program start, before
/// any output.
void init();

/// Writes `text`, which holds whole lines, to standard output. Returns false if it could not.
bool write(std::string_view text);

/// Writes `text`, which holds whole lines, to standard error.
void writeError(std::string_view text);

} // namespace Output
