#pragma once

#include <string>
#include <string_view>

/// Every text of the front end that a user can see, in one place. Diagnostics are in Ukrainian, the
/// words of the protocol and what somebody new is told in English.
namespace Messages {

inline constexpr std::string_view kName = "Morvane";
inline constexpr std::string_view kAuthor = "the Morvane developers";

inline constexpr std::string_view kBadFen = "невалідний FEN";
inline constexpr std::string_view kEgScaleBadLine = "err";
inline constexpr std::string_view kNoThread = "morvane: не вдалося створити потік\n";
inline constexpr std::string_view kNoMemory = "morvane: бракує пам'яті\n";

/// The names of the missing instruction sets follow, then the advice.
inline constexpr std::string_view kProcessorLacks =
    "morvane: цей процесор не має потрібних інструкцій:";
inline constexpr std::string_view kProcessorAdvice =
    " — візьміть збірку для старіших процесорів (portable)\n";

/// Each of the existing names has a blank before it.
inline std::string unknownVariant(std::string_view name, std::string_view names) {
    return "morvane: немає варіанта \"" + std::string(name) + "\", є:" + std::string(names) + "\n";
}

// --- before the loop starts ---

/// Name and version come before it.
inline constexpr std::string_view kGreeting =
    ", a chess engine that speaks UCI; a chess GUI gives it a board.\n"
    "Type \"go movetime 1000\" for a move, \"quit\" to leave; \"morvane --help\" tells more.\n";

/// Name and version come before it, the modes after it.
inline constexpr std::string_view kHelpIntroduction =
    ", a chess engine that speaks UCI.\n"
    "To play, add it to a chess GUI as a UCI engine, without arguments.\n"
    "Developer modes, each of which does one thing and ends:\n";

inline constexpr std::string_view kHelpPages =
    "\"morvane datagen --help\" lists its options, \"morvane --version\" describes the build.\n"
    "Manual: \"man morvane\"; commands, options and messages: docs/uci.md.\n";

inline constexpr std::string_view kLoopRuns = "Now reading UCI commands; \"quit\" ends.\n";

inline std::string unknownMode(std::string_view word) {
    return "morvane: невідомий режим \"" + std::string(word) + "\" — запущено UCI\n";
}

inline std::string argumentsMissing(std::string_view mode, std::string_view usage) {
    return "morvane: режиму " + std::string(mode) + " потрібні аргументи: " + std::string(usage) +
           " — запущено UCI\n";
}

// --- any command ---

/// At a terminal alone.
inline std::string unknownCommand(std::string_view word) {
    return "Unknown command \"" + std::string(word) +
           "\": \"go movetime 1000\" for a move, \"quit\" to leave, docs/uci.md for the others.\n";
}

inline constexpr std::string_view kLineTooLong = "задовгий рядок — пропущено";
inline constexpr std::string_view kCommandNeedsMemory = "бракує пам'яті — команду не виконано";
inline constexpr std::string_view kCommandFailed = "команду не виконано: "; // the reason follows

/// For the words "perft" and "benchsearch".
inline std::string badDepth(std::string_view word) {
    return std::string(word) + ": глибина має бути цілим числом >= 1";
}

// --- position ---

inline constexpr std::string_view kPositionMissing =
    "position: очікувалось startpos або fen — позицію не змінено";
inline constexpr std::string_view kPositionEmptyFen =
    "position fen: порожній FEN — позицію не змінено";

inline std::string positionBadFen(const std::string& fen) {
    return "position fen: некоректний FEN \"" + fen + "\" — позицію не змінено";
}

inline std::string positionUnknown(const std::string& word) {
    return "position: невідомий аргумент \"" + word + "\" — позицію не змінено";
}

inline std::string positionIllegalMove(const std::string& move) {
    return "position moves: хід \"" + move + "\" нелегальний у цій позиції — решту ходів пропущено";
}

// --- setoption ---

inline std::string optionBadValue(const std::string& name, const std::string& value) {
    return "setoption " + name + ": некоректне значення \"" + value + "\" — опцію не змінено";
}

inline std::string hashCapped(const std::string& requested, const std::string& physicalMiB,
                              const std::string& used) {
    return "setoption hash: " + requested + " МБ — більше за 3/4 фізичної RAM (" + physicalMiB +
           " МБ); використано " + used + " МБ";
}

inline std::string hashFailed(const std::string& size) {
    return "setoption hash: не вдалося виділити " + size + " МБ — лишається попередній розмір";
}

inline std::string threadsFailed(const std::string& count) {
    return "setoption threads: не вдалося створити " + count +
           " потоків — лишається попередня кількість";
}

} // namespace Messages
