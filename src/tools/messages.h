#pragma once

#include <string>
#include <string_view>

/// What the tools say on standard error when something is wrong, in one place.
namespace Messages {

// --- datagen ---

inline std::string dataGenUnknownKey(const std::string& key) {
    return "datagen: невідомий параметр: " + key + "\n";
}

inline std::string dataGenSurplusArgument(const std::string& argument) {
    return "datagen: зайвий аргумент: " + argument + "\n";
}

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
