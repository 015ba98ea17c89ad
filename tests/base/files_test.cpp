#include "base/files.h"

#include "support/temp_files.h"

#include <gtest/gtest.h>

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <filesystem>
#include <optional>
#include <span>
#include <string>
#include <utility>
#include <vector>

using Files::LineReader;
using Files::RecordWriter;
using TempFiles::Folder;
using TempFiles::SizeLimit;

namespace {

using namespace std::string_literals;

// --- writing records ---

class RecordWriterTest : public testing::Test {
  protected:
    std::string content() const { return TempFiles::read(path); }

    Folder folder;
    const std::string path = folder.pathOf("records");
    RecordWriter writer;
};

TEST_F(RecordWriterTest, ReplacesAFileWithItsFirstRecord) {
    folder.write("records", "what was there before");
    ASSERT_TRUE(writer.open(path));
    EXPECT_EQ(content(), "what was there before");
    EXPECT_TRUE(writer.append("one\n"));
    EXPECT_EQ(content(), "one\n");
    EXPECT_TRUE(writer.append(""));
    EXPECT_TRUE(writer.append("t\0wo\r\n\xff"s));
    EXPECT_TRUE(writer.close());
    EXPECT_EQ(content(), "one\nt\0wo\r\n\xff"s);
}

TEST_F(RecordWriterTest, WithoutARecordAFileStaysAsItWas) {
    folder.write("records", "what was there before");
    ASSERT_TRUE(writer.open(path));
    EXPECT_TRUE(writer.close());
    EXPECT_EQ(content(), "what was there before");
    ASSERT_TRUE(writer.open(folder.pathOf("new")));
    EXPECT_TRUE(writer.close());
    EXPECT_EQ(TempFiles::read(folder.pathOf("new")), "");
}

TEST_F(RecordWriterTest, ARecordMayBeEmpty) {
    folder.write("records", "what was there before");
    ASSERT_TRUE(writer.open(path));
    EXPECT_TRUE(writer.append(""));
    EXPECT_EQ(content(), "");
}

TEST_F(RecordWriterTest, ClearsAFileBeforeTheFirstRecordIfAsked) {
    folder.write("records", "what was there before");
    ASSERT_TRUE(writer.open(path));
    EXPECT_TRUE(writer.clear());
    EXPECT_EQ(content(), "");
    EXPECT_TRUE(writer.append("one"));
    EXPECT_EQ(content(), "one");
}

TEST_F(RecordWriterTest, KnowsItsFileWhateverItIsCalledByNow) {
    folder.write("records", "what was there before");
    const SizeLimit full(5);
    ASSERT_TRUE(writer.open(path));
    std::filesystem::rename(path, folder.pathOf("renamed"));
    folder.write("records", "other");
    EXPECT_TRUE(writer.append("one"));
    EXPECT_FALSE(writer.append("two"));
    EXPECT_EQ(content(), "other");
    EXPECT_EQ(TempFiles::read(folder.pathOf("renamed")), "one");
}

TEST_F(RecordWriterTest, ClosesOnceAndNeedNotBeOpen) {
    EXPECT_TRUE(writer.close());
    ASSERT_TRUE(writer.open(path));
    EXPECT_TRUE(writer.append("one"));
    EXPECT_TRUE(writer.close());
    EXPECT_TRUE(writer.close());
    EXPECT_EQ(content(), "one");
}

TEST_F(RecordWriterTest, WritesIntoPipes) {
    const std::string pipe = folder.pathOf("pipe");
    ASSERT_EQ(mkfifo(pipe.c_str(), 0600), 0);
    const int reader = ::open(pipe.c_str(), O_RDONLY | O_NONBLOCK);
    ASSERT_GE(reader, 0);
    ASSERT_TRUE(writer.open(pipe));
    EXPECT_TRUE(writer.append("one\n"));
    EXPECT_TRUE(writer.append("two\n"));
    EXPECT_TRUE(writer.close());
    char found[16];
    EXPECT_EQ(std::string(found, static_cast<std::size_t>(read(reader, found, sizeof found))),
              "one\ntwo\n");
    ::close(reader);
}

TEST_F(RecordWriterTest, ARecordIsInTheFileWhenAppendReturns) {
    ASSERT_TRUE(writer.open(path));
    ASSERT_TRUE(writer.append("small"));
    EXPECT_EQ(content(), "small");
    const std::string large(100001, 'x');
    ASSERT_TRUE(writer.append(large));
    EXPECT_EQ(content(), "small" + large);
}

TEST_F(RecordWriterTest, OpensNoFolderAndNothingInAMissingOne) {
    EXPECT_FALSE(writer.open(folder.path()));
    EXPECT_FALSE(writer.open(folder.pathOf("missing/records")));
    EXPECT_FALSE(writer.open(""));
}

TEST_F(RecordWriterTest, ADeviceWithoutRoomTakesNoRecord) {
    ASSERT_TRUE(writer.open("/dev/full"));
    EXPECT_FALSE(writer.append("record"));
}

TEST_F(RecordWriterTest, WhatAFailedWriteLeavesOfItsRecordIsCutOff) {
    const std::string record(300, 'r');
    for (const std::size_t limit : {299U, 301U, 900U, 901U, 1199U}) {
        const SizeLimit full(limit);
        const std::size_t whole = limit / record.size();
        ASSERT_TRUE(writer.open(path));
        for (std::size_t i = 0; i < whole; ++i)
            EXPECT_TRUE(writer.append(record)) << limit;
        EXPECT_FALSE(writer.append(record)) << limit;
        EXPECT_EQ(std::filesystem::file_size(path), whole * record.size()) << limit;
        writer.close();
        EXPECT_EQ(std::filesystem::file_size(path), whole * record.size()) << limit;
    }
}

TEST_F(RecordWriterTest, TellsAFailureOfTheSystemToClose) {
    ASSERT_TRUE(writer.open(path));
    ASSERT_TRUE(writer.append("record"));
    EXPECT_TRUE(writer.close());

    // The next file gets the lowest free number. Closed behind the writer's back, it cannot be
    // closed again.
    const int free = dup(STDERR_FILENO);
    ::close(free);
    ASSERT_TRUE(writer.open(path));
    ASSERT_EQ(fcntl(free, F_GETFD) & ~FD_CLOEXEC, 0);
    ::close(free);
    EXPECT_FALSE(writer.close());
}

// --- reading lines ---

using Lines = std::vector<std::string>;

/// What a reader finds: lines, or "<too long>", up to the end. "<error>" ends it, too.
Lines linesOf(LineReader& reader) {
    Lines lines;
    std::string_view line;
    for (;;)
        switch (reader.next(line)) {
        case LineReader::Status::Line:
            lines.emplace_back(line);
            break;
        case LineReader::Status::TooLong:
            lines.emplace_back("<too long>");
            break;
        case LineReader::Status::Error:
            lines.emplace_back("<error>");
            EXPECT_EQ(reader.next(line), LineReader::Status::Error) << "whoever asks again";
            return lines;
        case LineReader::Status::End:
            EXPECT_EQ(reader.next(line), LineReader::Status::End) << "whoever asks again";
            return lines;
        }
}

Lines linesAt(const std::string& path) {
    LineReader reader;
    return reader.open(path) ? linesOf(reader) : Lines{"<not opened>"};
}

Lines linesOf(std::string_view content) {
    const Folder folder;
    return linesAt(folder.write("lines", content));
}

TEST(LineReader, LinesEndWithALineFeedAndTheLastOneNeedsNone) {
    EXPECT_EQ(linesOf("one\ntwo\n"), (Lines{"one", "two"}));
    EXPECT_EQ(linesOf("one\ntwo"), (Lines{"one", "two"}));
    EXPECT_EQ(linesOf("x"), (Lines{"x"}));
}

TEST(LineReader, EmptyLinesAreLinesButAnEmptyFileHasNone) {
    EXPECT_EQ(linesOf(""), Lines{});
    EXPECT_EQ(linesOf("\n"), (Lines{""}));
    EXPECT_EQ(linesOf("\n\none\n\n"), (Lines{"", "", "one", ""}));
}

TEST(LineReader, EveryOtherCharacterBelongsToTheLine) {
    EXPECT_EQ(linesOf("one\r\ntwo\r"), (Lines{"one\r", "two\r"}));
    EXPECT_EQ(linesOf("a\0b\n\0\n\0"s), (Lines{"a\0b"s, "\0"s, "\0"s}));
    EXPECT_EQ(linesOf(" \t\v\f\x1a\xff\n"), (Lines{" \t\v\f\x1a\xff"}));
}

TEST(LineReader, TheLongestLineIsALineAndALongerOneIsSkippedWhole) {
    const std::string longest = std::string(LineReader::kLongestLine - 1, 'x') + "y";
    EXPECT_TRUE(linesOf(longest) == Lines{longest});
    EXPECT_TRUE(linesOf(longest + "\n") == Lines{longest});
    EXPECT_TRUE(linesOf(longest + "\n\nnext") == (Lines{longest, "", "next"}));

    EXPECT_EQ(linesOf(longest + "z"), Lines{"<too long>"});
    EXPECT_EQ(linesOf(longest + "z\n"), Lines{"<too long>"});
    EXPECT_EQ(linesOf(longest + "z\n\nnext\n"), (Lines{"<too long>", "", "next"}));
    EXPECT_EQ(linesOf("first\n" + longest + longest + "z\nnext"),
              (Lines{"first", "<too long>", "next"}));
    EXPECT_EQ(linesOf(longest + "z\n" + longest + "z\nnext"),
              (Lines{"<too long>", "<too long>", "next"}));
}

/// Hands out what a test puts here, one text for each read, then the end or a failure.
std::vector<std::string> gTexts;
bool gFailsThen = false;

std::optional<std::size_t> readTexts(std::span<char> space) {
    if (gTexts.empty())
        return gFailsThen ? std::nullopt : std::optional<std::size_t>(0);
    const std::string text = gTexts.front();
    gTexts.erase(gTexts.begin());
    EXPECT_LE(text.size(), space.size());
    std::copy(text.begin(), text.end(), space.begin());
    return text.size();
}

Lines linesOfTexts(const std::vector<std::string>& texts, bool failsThen = false) {
    gTexts = texts;
    gFailsThen = failsThen;
    LineReader reader(readTexts);
    return linesOf(reader);
}

TEST(LineReader, LinesOfASourceMayComeInPieces) {
    EXPECT_EQ(linesOfTexts({"one\n\ntwo"}), (Lines{"one", "", "two"}));
    EXPECT_EQ(linesOfTexts({"o", "n", "e", "\n", "\n", "tw", "o\nth", "ree\n"}),
              (Lines{"one", "", "two", "three"}));
    EXPECT_EQ(linesOfTexts({}), Lines{});
}

TEST(LineReader, AsksForMoreOnlyWhenItsLinesAreGone) {
    gTexts = {"one\ntwo\nth", "ree\n", "four\n"};
    LineReader reader(readTexts);
    std::string_view line;
    for (const std::size_t left : {2U, 2U, 1U, 0U}) {
        ASSERT_EQ(reader.next(line), LineReader::Status::Line);
        EXPECT_EQ(gTexts.size(), left) << line;
    }
}

TEST(LineReader, AFailureEndsItAfterTheWholeLines) {
    EXPECT_EQ(linesOfTexts({"one\ntwo\nthr"}, true), (Lines{"one", "two", "<error>"}));
}

TEST(LineReader, LooksNoFurtherThanTheEnd) {
    gTexts = {};
    gFailsThen = false;
    LineReader reader(readTexts);
    std::string_view line;
    EXPECT_EQ(reader.next(line), LineReader::Status::End);
    gTexts = {"more\n"};
    EXPECT_EQ(reader.next(line), LineReader::Status::End);
}

TEST(LineReader, LinesOfAnyLengthAndPlaceInTheBlocks) {
    std::string text;
    Lines lines;
    for (std::size_t size = 0; size < 200000; size = size * 3 / 2 + 1) {
        lines.push_back(std::string(size, static_cast<char>('a' + size % 26)));
        lines.push_back(std::to_string(size));
    }
    for (const std::string& line : lines)
        text += line + '\n';
    EXPECT_TRUE(linesOf(text) == lines);
}

TEST(LineReader, OpensNoMissingFile) {
    const Folder folder;
    EXPECT_EQ(linesAt(folder.pathOf("missing")), Lines{"<not opened>"});
    EXPECT_EQ(linesAt(""), Lines{"<not opened>"});
}

TEST(LineReader, TellsThatReadingFailed) {
    const Folder folder;
    EXPECT_EQ(linesAt(folder.path()), Lines{"<error>"}) << "a folder can be opened but not read";
}

TEST(LineReader, ReadsWhatHasNoSize) {
    EXPECT_EQ(linesAt("/dev/null"), Lines{});
}

} // namespace
