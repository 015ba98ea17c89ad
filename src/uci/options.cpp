#include "uci/options.h"

#include "base/membudget.h"
#include "base/parse.h"
#include "base/text.h"
#include "platform/memory.h"
#include "search/thread.h"
#include "search/time.h"
#include "search/tt.h"
#include "uci/messages.h"
#include "uci/session.h"

#include <algorithm>
#include <new>
#include <system_error>

namespace {

using SysMem::kMiB;

int gThreadCount = kDefaultThreads;

bool fitsInMemory(std::uint64_t tableBytes, int threads) {
    return SysMem::fitsInMemory(tableBytes, static_cast<std::uint64_t>(threads), kThreadFootprint);
}

void applyHash(int value) {
    const auto requested = static_cast<std::uint64_t>(value);
    const std::uint64_t physical = SysMem::physicalBytes();
    const std::uint64_t size = SysMem::clampHashMb(requested, physical);
    if (size < requested)
        infoString(Messages::hashCapped(std::to_string(requested), std::to_string(physical / kMiB),
                                        std::to_string(size)));
    stopSearch();
    const bool fits = size * kMiB <= gTT.bytes() || fitsInMemory(size * kMiB, gThreadCount);
    if (fits && gTT.resize(size))
        gTT.prefaultPages();
    else
        infoString(Messages::hashFailed(std::to_string(size)));
}

/// Makes the pool so large; returns false, and leaves it as it was, if the system refuses.
bool resizePool(int count) {
    try {
        gThreads.set(static_cast<std::size_t>(count));
        return true;
    } catch (const std::system_error&) {
        return false;
    } catch (const std::bad_alloc&) {
        return false;
    }
}

void applyThreads(int value) {
    stopSearch();
    const bool fits = value <= gThreadCount || fitsInMemory(gTT.bytes(), value);
    if (fits && resizePool(value))
        gThreadCount = value;
    else
        infoString(Messages::threadsFailed(std::to_string(value)));
}

void applyMoveOverhead(int value) {
    gMoveOverhead = value;
}

constexpr UciOption kOptions[] = {
    {"Hash", "hash", kDefaultHashMb, 1, 65536, applyHash},
    {"Threads", "threads", kDefaultThreads, 1, 256, applyThreads},
    {"Move Overhead", "move overhead", kDefaultMoveOverhead, 0, 5000, applyMoveOverhead},
};

} // namespace

std::span<const UciOption> uciOptions() {
    return kOptions;
}

void setUciOption(std::string name, const std::string& value) {
    std::transform(name.begin(), name.end(), name.begin(), toLower);
    for (const UciOption& option : kOptions) {
        if (option.lowName != name)
            continue;
        int number = 0;
        if (parseIntStrict(value, number))
            option.apply(std::clamp(number, option.min, option.max));
        else
            infoString(Messages::optionBadValue(name, value));
    }
}

void initThreads() {
    gThreads.set(static_cast<std::size_t>(gThreadCount));
}
