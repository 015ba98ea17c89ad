#include "pack/entries.h"

#include <algorithm>
#include <bit>
#include <cstdlib>
#include <cstring>
#include <utility>

namespace Pack {

namespace {

constexpr std::size_t kBytesAtOnce = sizeof(std::uint64_t);

// Jumps of a row, all together: each goes on by a stride at least.
constexpr std::size_t kMostJumps = kCellCount / kStride;

/// How often cells that count several weights are used, up to a whole number of words of bytes.
struct TogetherCounts {
    static constexpr std::size_t kSize =
        (kTogetherCells + kBytesAtOnce - 1) / kBytesAtOnce * kBytesAtOnce;
    alignas(64) std::array<std::int32_t, kSize> count;
};

/// Copies the counts of each row of `kTogether`; as many loops of fixed length, since most are
/// short.
template <std::size_t... Row>
void gather(const Tune::Trace& trace, std::int32_t* to, std::index_sequence<Row...>) {
    const auto copy = [&]<std::size_t I>() {
        constexpr Detail::Together Rows = Detail::kTogether[I];
        constexpr bool IsMg = Rows.mg.count != 0;
        const std::int32_t* from = IsMg ? trace.mg + Rows.mg.first : trace.eg + Rows.eg.first;
        to = std::copy_n(from, Rows.count(), to);
    };
    (copy.template operator()<Row>(), ...);
    std::fill_n(to, TogetherCounts::kSize - kTogetherCells, 0);
}

/// One bit for each of eight bytes that are 0 or 1.
std::uint64_t bitsOfBytes(const std::uint8_t* bytes) {
    constexpr std::uint64_t kGather = 0x0102040810204080;
    std::uint64_t word = 0;
    std::memcpy(&word, bytes, sizeof word);
    return word * kGather >> 56;
}

/// Calls `visit` with the index of each number that is not 0; there must be a multiple of eight.
template <std::size_t Size, class Visit>
void forEachUsed(const std::int32_t* counts, Visit visit) {
    constexpr std::size_t kWordBits = 64;
    std::array<std::uint8_t, Size> used;
    for (std::size_t i = 0; i < Size; ++i)
        used[i] = counts[i] != 0;
    for (std::size_t first = 0; first < Size; first += kWordBits) {
        std::uint64_t word = 0;
        for (std::size_t i = 0; i < std::min(kWordBits, Size - first); i += kBytesAtOnce)
            word |= bitsOfBytes(&used[first + i]) << i;
        for (; word; word &= word - 1)
            visit(first + static_cast<std::size_t>(std::countr_zero(word)));
    }
}

std::size_t sumOfUses(std::span<const std::int32_t> counts) {
    std::int32_t sum = 0;
    for (const std::int32_t count : counts)
        sum += std::abs(count);
    return static_cast<std::size_t>(sum);
}

} // namespace

std::uint8_t* EntryWriter::use(std::uint8_t* end, std::size_t cell, std::int32_t count) {
    std::size_t step = cell - place_;
    while (step >= kStride)
        [[unlikely]] {
            const std::size_t strides = std::min(step / kStride, kLongestJump);
            *end++ = static_cast<std::uint8_t>(2 * kStride - 1 + strides);
            step -= strides * kStride;
        }
    place_ = cell;
    const std::size_t side = count < 0 ? kStride : 0;
    *end++ = static_cast<std::uint8_t>(side + step);
    for (std::int32_t more = std::abs(count); more > 1; --more)
        *end++ = static_cast<std::uint8_t>(side);
    return end;
}

void EntryWriter::useTogether(const Tune::Trace& trace) {
    TogetherCounts counts;
    gather(trace, counts.count.data(), std::make_index_sequence<std::size(Detail::kTogether)>());
    const std::size_t before = entries_.size();
    entries_.resize(before + sumOfUses(counts.count) + kMostJumps);
    std::uint8_t* end = entries_.data() + before;
    forEachUsed<TogetherCounts::kSize>(
        counts.count.data(), [&](std::size_t cell) { end = use(end, cell, counts.count[cell]); });
    entries_.resize(static_cast<std::size_t>(end - entries_.data()));
}

void EntryWriter::use(std::span<const std::int32_t> counts, std::size_t firstCell) {
    const std::size_t before = entries_.size();
    entries_.resize(before + sumOfUses(counts) + kMostJumps);
    std::uint8_t* end = entries_.data() + before;
    for (std::size_t k = 0; k < counts.size(); ++k)
        if (counts[k] != 0)
            end = use(end, firstCell + k, counts[k]);
    entries_.resize(static_cast<std::size_t>(end - entries_.data()));
}

void EntryWriter::useAlone(const Tune::Trace& rest) {
    use(rest.mg, kFirstMgCell);
    use(rest.eg, kFirstEgCell);
}

EntryReader::EntryReader(std::span<const int, Tune::NPARAMS> weights) {
    const auto value = [&](std::int16_t weight) {
        return weight == kNoWeight ? 0 : weights[static_cast<std::size_t>(weight)];
    };
    for (std::size_t cell = 0; cell < kCells.size(); ++cell)
        values_[cell] =
            packPair(value(kCells[cell].mg), value(kCells[cell].eg[0]) + value(kCells[cell].eg[1]));
}

bool EntryReader::takeOff(std::span<const std::uint8_t> entries, std::size_t& place,
                          Tune::Trace& trace, ScorePair& total) const {
    PackedPair sum = packPair(total.mg, total.eg);
    for (const std::uint8_t entry : entries) {
        if (entry >= 2 * kStride) [[unlikely]] {
            place += (entry - 2 * kStride + 1) * kStride;
            continue;
        }
        const int count = entry < kStride ? 1 : -1;
        place += entry < kStride ? entry : entry - kStride;
        if (place >= kCells.size())
            return false;
        sum += values_[place] * count;
        const Cell& used = kCells[place];
        if (used.mg != kNoWeight)
            trace.mg[used.mg] -= count;
        if (used.eg[0] != kNoWeight)
            trace.eg[used.eg[0]] -= count;
        if (used.eg[1] != kNoWeight)
            trace.eg[used.eg[1]] -= count;
    }
    total = unpackPair(sum);
    return true;
}

bool countsNothing(const Tune::Trace& trace) {
    std::int32_t any = 0;
    for (std::size_t k = 0; k < Tune::NPARAMS; ++k)
        any |= trace.mg[k] | trace.eg[k];
    return any == 0;
}

} // namespace Pack
