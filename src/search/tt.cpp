#include "search/tt.h"

#include "base/membudget.h"
#include "platform/memory.h"
#include "search/score.h"

#include <bit>

namespace {

// Layout of the data word, from bit 0 up: move 32, score 16, depth 8, flag 2, generation 6.
constexpr int kScoreShift = 32;
constexpr int kDepthShift = 48;
constexpr int kFlagShift = 56;
constexpr int kGenerationShift = 58;
constexpr std::uint32_t kGenerationMask = 63;

// What an entry of an earlier search counts less than one of this search, in plies of depth.
constexpr int kAgePenalty = 8;

// Above this share of all buckets one sweep is cheaper than visits in random order.
constexpr std::uint64_t kRecordedShare = 8;

std::uint64_t pack(std::uint32_t move, int score, int depth, TTFlag flag,
                   std::uint32_t generation) {
    return std::uint64_t{move} | std::uint64_t{static_cast<std::uint16_t>(score)} << kScoreShift |
           std::uint64_t{static_cast<std::uint8_t>(depth)} << kDepthShift |
           std::uint64_t{flag & 3U} << kFlagShift |
           std::uint64_t{generation & kGenerationMask} << kGenerationShift;
}

int depthOf(std::uint64_t data) {
    return static_cast<std::int8_t>(data >> kDepthShift);
}

std::uint32_t generationOf(std::uint64_t data) {
    return static_cast<std::uint32_t>(data >> kGenerationShift);
}

TTData unpack(std::uint64_t data) {
    return {static_cast<std::uint32_t>(data), static_cast<std::int16_t>(data >> kScoreShift),
            depthOf(data), static_cast<TTFlag>((data >> kFlagShift) & 3)};
}

// Threads read and write entries at will; each word for itself is atomic. (std::atomic_ref says the
// same, and is missing in the libraries of some compilers.)
std::uint64_t load(const std::uint64_t& word) {
    return __atomic_load_n(&word, __ATOMIC_RELAXED);
}

void save(std::uint64_t& word, std::uint64_t value) {
    __atomic_store_n(&word, value, __ATOMIC_RELAXED);
}

} // namespace

TranspositionTable::~TranspositionTable() {
    prefaulter_.stop();
    SysMem::release(buckets_, bytes());
}

bool TranspositionTable::resize(std::uint64_t mb) {
    std::uint64_t count = mb * SysMem::kMiB / sizeof(Bucket);
    if (count == 0)
        count = 1;
    const std::uint64_t size = count * sizeof(Bucket);
    if (!SysMem::fitsAddressSpace(size))
        return false;
    void* memory = SysMem::allocateZeroed(static_cast<std::size_t>(size), SysMem::kHeadroom);
    if (!memory)
        return false;
    prefaulter_.stop();
    SysMem::release(buckets_, bytes());
    buckets_ = static_cast<Bucket*>(memory);
    bucketCount_ = count;
    indexMask_ = count - 1;
    powerOfTwo_ = std::has_single_bit(count);
    generation_ = 0;
    recordWrites(false);
    return true;
}

void TranspositionTable::prefaultPages() {
    prefaulter_.start(buckets_, bytes());
}

void TranspositionTable::clear() {
    prefaulter_.stop();
    if (recordIsComplete_)
        for (const std::uint64_t bucket : written_)
            buckets_[bucket] = {};
    else if (buckets_)
        SysMem::zero(buckets_, bytes());
    generation_ = 0;
    written_.clear();
    recordIsComplete_ = recording_;
}

void TranspositionTable::recordWrites(bool on) {
    recording_ = on;
    recordIsComplete_ = false; // what was written before is not in it
    written_.clear();
    if (on)
        written_.reserve(bucketCount_ / kRecordedShare);
}

void TranspositionTable::record(const Bucket* bucket) {
    if (written_.size() < written_.capacity())
        written_.push_back(static_cast<std::uint64_t>(bucket - buckets_));
    else
        recordIsComplete_ = false;
}

bool TranspositionTable::probe(std::uint64_t key, TTData& out) const {
    const Bucket* const bucket = bucketOf(key);
    if (!bucket)
        return false;
    const auto readIfFound = [&](const Entry& entry) {
        const std::uint64_t keyXorData = load(entry.keyXorData);
        const std::uint64_t data = load(entry.data);
        // Two zero words are an empty place, also for the key 0.
        if ((keyXorData ^ data) != key || (keyXorData | data) == 0)
            return false;
        out = unpack(data);
        return true;
    };
    const auto& entries = bucket->entries;
    return readIfFound(entries[0]) || readIfFound(entries[1]) || readIfFound(entries[2]) ||
           readIfFound(entries[3]);
}

void TranspositionTable::store(std::uint64_t key, std::uint32_t move, int score, int depth,
                               TTFlag flag, int ply) {
    Bucket* const bucket = bucketOf(key);
    if (!bucket)
        return;
    Entry* victim = nullptr;
    int victimWorth = 0;
    for (Entry& entry : bucket->entries) {
        const std::uint64_t keyXorData = load(entry.keyXorData);
        const std::uint64_t data = load(entry.data);
        if ((keyXorData | data) == 0) {
            victim = &entry;
            victimWorth = depth;
            break;
        }
        if ((keyXorData ^ data) == key) {
            // Quiescence does not displace what a real search found here.
            if (depth < 0 && depthOf(data) >= 0)
                return;
            victim = &entry;
            victimWorth = depth;
            break;
        }
        const bool current = generationOf(data) == (generation_ & kGenerationMask);
        const int worth = depthOf(data) - (current ? 0 : kAgePenalty);
        if (!victim || worth < victimWorth) {
            victim = &entry;
            victimWorth = worth;
        }
    }
    if (victimWorth > depth)
        return;
    if (recordIsComplete_) [[unlikely]]
        record(bucket);
    const std::uint64_t data = pack(move, scoreToTT(score, ply), depth, flag, generation_);
    save(victim->keyXorData, key ^ data);
    save(victim->data, data);
}

int TranspositionTable::scoreToTT(int score, int ply) {
    if (score >= Search::kMateBound)
        return score + ply;
    if (score <= -Search::kMateBound)
        return score - ply;
    return score;
}

int TranspositionTable::scoreFromTT(int score, int ply) {
    if (score >= Search::kMateBound)
        return score - ply;
    if (score <= -Search::kMateBound)
        return score + ply;
    return score;
}
