#pragma once

#include <cstddef>
#include <optional>
#include <span>
#include <string_view>

/// The standard streams as the system knows them. What a text is and who may write when is the
/// business of base/output.h.
namespace Console {

enum class Stream { Input, Output, Error };

/// Gives standard streams that are closed an end that takes nothing. Otherwise the next file opened
/// could get the place of one, and what is written to the stream would go into the file.
void fillClosedStreams();

/// From now on bytes pass as they are, in both directions: no line end is translated, and a console
/// takes and shows UTF-8 until the program ends.
void passBytesUnchanged();

/// From now on a write that fails, to files as well, shows so in its result alone: no signal ends
/// the program because a reader has gone or a file has reached its largest size.
void ignoreWriteSignals();

/// Reads from standard input what there is, at most as much as fits, and waits until there is
/// something. Returns the number of bytes, 0 at the end, nothing if reading fails.
std::optional<std::size_t> read(std::span<char> space);

/// Whether the client asks a search to stop and nothing else would hear it, since the program's
/// only thread is searching. Where there are threads, one of them reads, and this is always false.
bool isInterrupted();

/// Writes all of a text, with one call of the system unless that takes less than all. Waits as long
/// as it takes. Returns false if it cannot be done.
bool write(Stream stream, std::string_view text);

/// What a stream that is ready takes at least, in bytes, without waiting.
inline constexpr std::size_t kReadyBytes = 4096;

/// Waits until a stream takes more, at most `ms` milliseconds (below 0: for ever). Returns whether
/// it does.
bool waitUntilReady(Stream stream, int ms);

/// Whether a person sits at the other end.
bool isTerminal(Stream stream);

} // namespace Console
