#pragma once

#include <string>
#include <string_view>

/// What the tools say on standard error, in one place: diagnostics in Ukrainian, help in English.
namespace Messages {

// --- datagen ---

inline std::string dataGenUnknownKey(const std::string& key) {
    return "datagen: невідомий параметр: " + key + "\n";
}

inline std::string dataGenSurplusArgument(const std::string& argument) {
    return "datagen: зайвий аргумент: " + argument + "\n";
}

/// A value with something behind its number.
inline std::string dataGenValueCut(const std::string& key, const std::string& value,
                                   const std::string& read) {
    return "datagen: " + key + "=" + value + " — прочитано як " + read + "\n";
}

/// The options follow, a line each.
inline constexpr std::string_view kDataGenUsage =
    "Usage: morvane datagen [GAMES [FILE]] [OPTION=VALUE...]\n"
    "Plays games of the engine against itself and writes their positions to a file.\n"
    "Options with their defaults (scores in centipawns):\n";

inline std::string dataGenNotOpened(const std::string& path) {
    return "datagen: не вдалося відкрити для запису: " + path + "\n";
}

inline std::string dataGenNotWritten(const std::string& path) {
    return "datagen: помилка запису: " + path + " — збережено лише цілі партії\n";
}

// --- featureexport ---

inline std::string exportInputNotOpened(const std::string& path) {
    return "featureexport: не відкрити вхід: " + path + "\n";
}

inline std::string exportOutputNotOpened(const std::string& path) {
    return "featureexport: не відкрити вихід: " + path + "\n";
}

inline std::string exportOntoItself(const std::string& path) {
    return "featureexport: вхід і вихід — той самий файл: " + path + "\n";
}

inline std::string exportNotRead(const std::string& path) {
    return "featureexport: помилка читання: " + path + "\n";
}

inline std::string exportNotWritten(const std::string& path) {
    return "featureexport: помилка запису: " + path + " — збережено лише цілі рядки\n";
}

// --- tuneparams ---

inline constexpr std::string_view kParamsNotWritten = "tuneparams: помилка запису\n";

} // namespace Messages
