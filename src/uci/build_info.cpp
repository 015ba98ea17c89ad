#include "uci/build_info.h"

#include "uci/messages.h"

#ifdef MORVANE_KNOWS_PROCESSOR
#include "uci/instructionnames.h"
#endif

extern const char* const kRevision; // written at each build, see cmake/revision.cmake

namespace BuildInfo {

namespace {

std::string instructionSets() {
#ifdef MORVANE_KNOWS_PROCESSOR
    return instructionNames(Instructions::kNeeded);
#else
    return {};
#endif
}

} // namespace

constexpr std::string_view kVersion = MORVANE_VERSION;

std::string describe() {
    const std::string revision(kRevision);
    const std::string sets = instructionSets();
    return std::string(Messages::kName) + " " + std::string(kVersion) +
           (revision.empty() ? "" : ", revision " + revision) + "\n" +
           "Built by " MORVANE_COMPILER " for " MORVANE_PROCESSOR +
           (sets.empty() ? "" : " with" + sets) + MORVANE_GUIDED "\n" MORVANE_CHOSEN;
}

} // namespace BuildInfo
