#include "pack/segment.h"

#include "pack/crc32.h"

#include <algorithm>
#include <bit>
#include <cstring>

namespace Pack {

static_assert(std::endian::native == std::endian::little, "the columns are written as they lie");

namespace {

constexpr char kMagic[8] = {'M', 'R', 'V', 'R', 'O', 'W', 'S', '\0'};
constexpr std::size_t kAlignment = 8; // of blocks

struct FileHeader {
    char magic[sizeof kMagic];
    std::uint32_t format;
    std::uint32_t blockRows;
};

struct BlockHeader {
    std::uint32_t rows;
    std::uint32_t entries; // bytes
    std::uint32_t crc;     // of the body
    std::uint32_t gamesBefore;
    std::uint32_t games;
    std::uint32_t zero;
};

template <class Number>
void appendColumn(std::vector<std::uint8_t>& body, const std::vector<Number>& column) {
    const auto* bytes = reinterpret_cast<const std::uint8_t*>(column.data());
    body.insert(body.end(), bytes, bytes + column.size() * sizeof(Number));
}

template <class Number>
void appendPart(std::vector<Number>& to, const std::vector<Number>& from, std::size_t first,
                std::size_t count) {
    const Number* part = from.data() + first;
    to.insert(to.end(), part, part + count);
}

/// Appends `count` rows from number `first` on, whose entries begin at `entry`. Returns where the
/// entries end.
std::size_t appendRows(Rows& to, const Rows& from, std::size_t first, std::size_t count,
                       std::size_t entry) {
    appendPart(to.value, from.value, first, count);
    appendPart(to.score, from.score, first, count);
    appendPart(to.baseMg, from.baseMg, first, count);
    appendPart(to.baseEg, from.baseEg, first, count);
    appendPart(to.length, from.length, first, count);
    appendPart(to.phase, from.phase, first, count);
    appendPart(to.scale, from.scale, first, count);
    appendPart(to.clock, from.clock, first, count);
    appendPart(to.flags, from.flags, first, count);
    std::size_t size = 0;
    for (std::size_t i = first; i < first + count; ++i)
        size += from.length[i];
    appendPart(to.entries, from.entries, entry, size);
    return entry + size;
}

std::uint32_t countGames(const Rows& rows) {
    return static_cast<std::uint32_t>(
        std::count_if(rows.flags.begin(), rows.flags.end(),
                      [](std::uint8_t flags) { return (flags & kFirstOfGame) != 0; }));
}

} // namespace

SegmentWriter::~SegmentWriter() {
    if (path_.empty() || isWhole_)
        return;
    file_.reset();
    std::remove(path_.c_str());
}

bool SegmentWriter::create(const std::string& path) {
    file_.reset(std::fopen(path.c_str(), "wbx"));
    if (!file_)
        return false;
    path_ = path;
    std::setvbuf(file_.get(), nullptr, _IONBF, 0); // blocks are large
    FileHeader header{{}, kFormat, kBlockRows};
    std::memcpy(header.magic, kMagic, sizeof kMagic);
    return write(&header, sizeof header);
}

bool SegmentWriter::write(const void* bytes, std::size_t size) {
    totals_.bytes += size;
    return std::fwrite(bytes, 1, size, file_.get()) == size;
}

bool SegmentWriter::append(const Rows& rows) {
    std::size_t entry = 0;
    for (std::size_t first = 0; first < rows.size();) {
        const std::size_t count = std::min(rows.size() - first, kBlockRows - block_.size());
        entry = appendRows(block_, rows, first, count, entry);
        first += count;
        if (block_.size() == kBlockRows && !writeBlock())
            return false;
    }
    return true;
}

bool SegmentWriter::writeBlock() {
    body_.assign(sizeof(BlockHeader), 0);
    appendColumn(body_, block_.value);
    appendColumn(body_, block_.score);
    appendColumn(body_, block_.baseMg);
    appendColumn(body_, block_.baseEg);
    appendColumn(body_, block_.length);
    appendColumn(body_, block_.phase);
    appendColumn(body_, block_.scale);
    appendColumn(body_, block_.clock);
    appendColumn(body_, block_.flags);
    appendColumn(body_, block_.entries);
    body_.resize((body_.size() + kAlignment - 1) / kAlignment * kAlignment);

    const BlockHeader header{static_cast<std::uint32_t>(block_.size()),
                             static_cast<std::uint32_t>(block_.entries.size()),
                             crc32(0, std::span(body_).subspan(sizeof(BlockHeader))),
                             static_cast<std::uint32_t>(totals_.games),
                             countGames(block_),
                             0};
    std::memcpy(body_.data(), &header, sizeof header);
    totals_.rows += header.rows;
    totals_.games += header.games;
    totals_.scores &= std::count(block_.score.begin(), block_.score.end(), kNoScore) == 0;
    block_.clear();
    return write(body_.data(), body_.size());
}

bool SegmentWriter::close() {
    if (block_.size() != 0 && !writeBlock())
        return false;
    isWhole_ = std::fclose(file_.release()) == 0;
    return isWhole_;
}

} // namespace Pack
