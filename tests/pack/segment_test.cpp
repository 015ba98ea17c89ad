#include "pack/segment.h"

#include "pack/crc32.h"
#include "support/temp_files.h"

#include <gtest/gtest.h>

#include <cstring>
#include <filesystem>
#include <random>
#include <string>
#include <string_view>

namespace {

using Pack::Rows;
using Pack::SegmentWriter;

/// Rows of any numbers; every tenth begins a game.
Rows randomRows(std::size_t count, std::uint64_t seed, bool scores = true) {
    std::mt19937_64 random(seed);
    Rows rows;
    for (std::size_t i = 0; i < count; ++i) {
        rows.value.push_back(static_cast<std::int16_t>(random()));
        rows.score.push_back(scores || i != count / 2 ? static_cast<std::int16_t>(i % 1000)
                                                      : Pack::kNoScore);
        rows.baseMg.push_back(static_cast<std::int16_t>(random()));
        rows.baseEg.push_back(static_cast<std::int16_t>(random()));
        rows.length.push_back(static_cast<std::uint16_t>(random() % 5));
        rows.phase.push_back(static_cast<std::uint8_t>(random()));
        rows.scale.push_back(static_cast<std::uint8_t>(random()));
        rows.clock.push_back(static_cast<std::uint8_t>(random()));
        rows.flags.push_back(i % 10 == 0 ? Pack::kFirstOfGame : 0);
        for (int k = 0; k < rows.length.back(); ++k)
            rows.entries.push_back(static_cast<std::uint8_t>(random()));
    }
    return rows;
}

std::uint32_t numberAt(std::string_view file, std::size_t place) {
    std::uint32_t number = 0;
    std::memcpy(&number, file.data() + place, sizeof number);
    return number;
}

template <class Number>
void take(std::string_view& body, std::vector<Number>& column, std::size_t count) {
    const std::size_t before = column.size();
    column.resize(before + count);
    std::memcpy(column.data() + before, body.data(), count * sizeof(Number));
    body.remove_prefix(count * sizeof(Number));
}

/// Reads a file back; the sizes of its blocks come with it.
Rows rowsOf(std::string_view file, std::vector<std::size_t>& blocks) {
    Rows rows;
    EXPECT_EQ(file.substr(0, 8), std::string_view("MRVROWS\0", 8));
    EXPECT_EQ(numberAt(file, 8), 1U);
    EXPECT_EQ(numberAt(file, 12), 65536U);
    std::uint32_t games = 0;
    for (std::size_t place = 16; place < file.size();) {
        const std::size_t count = numberAt(file, place);
        const std::size_t entries = numberAt(file, place + 4);
        const std::size_t size = (count * 14 + entries + 7) / 8 * 8;
        std::string_view body = file.substr(place + 24, size);
        const std::vector<std::uint8_t> bytes(body.begin(), body.end());
        EXPECT_EQ(numberAt(file, place + 8), Pack::crc32(0, bytes));
        EXPECT_EQ(numberAt(file, place + 12), games);
        games += numberAt(file, place + 16);
        EXPECT_EQ(numberAt(file, place + 20), 0U);
        take(body, rows.value, count);
        take(body, rows.score, count);
        take(body, rows.baseMg, count);
        take(body, rows.baseEg, count);
        take(body, rows.length, count);
        take(body, rows.phase, count);
        take(body, rows.scale, count);
        take(body, rows.clock, count);
        take(body, rows.flags, count);
        take(body, rows.entries, entries);
        EXPECT_EQ(body, std::string_view("\0\0\0\0\0\0\0", body.size()));
        blocks.push_back(count);
        place += 24 + size;
    }
    return rows;
}

void expectSame(const Rows& a, const Rows& b) {
    EXPECT_TRUE(a.value == b.value && a.score == b.score && a.baseMg == b.baseMg &&
                a.baseEg == b.baseEg && a.length == b.length && a.phase == b.phase &&
                a.scale == b.scale && a.clock == b.clock && a.flags == b.flags &&
                a.entries == b.entries);
}

TEST(PackSegment, HoldsTheRowsInBlocks) {
    const TempFiles::Folder folder;
    for (const std::size_t count : {1U, 65535U, 65536U, 65537U, 140000U}) {
        const Rows rows = randomRows(count, count);
        SegmentWriter writer;
        const std::string path = folder.pathOf(std::to_string(count));
        ASSERT_TRUE(writer.create(path));
        ASSERT_TRUE(writer.append(rows));
        ASSERT_TRUE(writer.close());
        const std::string file = TempFiles::read(path);
        std::vector<std::size_t> blocks;
        expectSame(rowsOf(file, blocks), rows);
        for (std::size_t i = 0; i + 1 < blocks.size(); ++i)
            EXPECT_EQ(blocks[i], 65536U);
        EXPECT_EQ(writer.totals().rows, count);
        EXPECT_EQ(writer.totals().games, (count + 9) / 10);
        EXPECT_EQ(writer.totals().bytes, file.size());
        EXPECT_TRUE(writer.totals().scores);
    }
}

TEST(PackSegment, DoesNotDependOnThePiecesThatRowsComeIn) {
    const TempFiles::Folder folder;
    Rows all;
    SegmentWriter inPieces;
    ASSERT_TRUE(inPieces.create(folder.pathOf("pieces")));
    for (const std::size_t count : {1U, 0U, 60000U, 70000U, 100U, 30000U}) {
        const Rows rows = randomRows(count, count);
        ASSERT_TRUE(inPieces.append(rows));
        const auto join = [](auto& to, const auto& from) {
            to.insert(to.end(), from.begin(), from.end());
        };
        join(all.value, rows.value);
        join(all.score, rows.score);
        join(all.baseMg, rows.baseMg);
        join(all.baseEg, rows.baseEg);
        join(all.length, rows.length);
        join(all.phase, rows.phase);
        join(all.scale, rows.scale);
        join(all.clock, rows.clock);
        join(all.flags, rows.flags);
        join(all.entries, rows.entries);
    }
    ASSERT_TRUE(inPieces.close());
    SegmentWriter atOnce;
    ASSERT_TRUE(atOnce.create(folder.pathOf("once")));
    ASSERT_TRUE(atOnce.append(all));
    ASSERT_TRUE(atOnce.close());
    EXPECT_TRUE(TempFiles::read(folder.pathOf("pieces")) == TempFiles::read(folder.pathOf("once")));
}

TEST(PackSegment, KnowsWhetherEachRowHasAScore) {
    const TempFiles::Folder folder;
    SegmentWriter writer;
    ASSERT_TRUE(writer.create(folder.pathOf("file")));
    ASSERT_TRUE(writer.append(randomRows(100, 1, false)));
    ASSERT_TRUE(writer.close());
    EXPECT_FALSE(writer.totals().scores);
}

TEST(PackSegment, LeavesWhatIsThereAlone) {
    const TempFiles::Folder folder;
    const std::string path = folder.write("file", "mine");
    {
        SegmentWriter writer;
        EXPECT_FALSE(writer.create(path));
        SegmentWriter nowhere;
        EXPECT_FALSE(nowhere.create(folder.pathOf("missing/file")));
    }
    EXPECT_EQ(TempFiles::read(path), "mine");
}

TEST(PackSegment, LeavesNoFileThatIsNotWhole) {
    const TempFiles::Folder folder;
    const std::string path = folder.pathOf("file");
    {
        SegmentWriter writer;
        ASSERT_TRUE(writer.create(path));
        ASSERT_TRUE(writer.append(randomRows(70000, 1)));
        EXPECT_TRUE(std::filesystem::exists(path));
    }
    EXPECT_FALSE(std::filesystem::exists(path));
}

} // namespace
