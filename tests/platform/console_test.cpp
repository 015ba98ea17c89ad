#include "platform/console.h"

#include "support/standard_stream.h"
#include "support/temp_files.h"

#include <gtest/gtest.h>

#include <chrono>
#include <cstdlib>
#include <optional>
#include <string>
#include <thread>

#include <fcntl.h>
#include <unistd.h>

using Console::Stream;

namespace {

/// What a read finds; "<end>" or "<error>".
std::string readInput(std::size_t size) {
    std::string text(size, '\0');
    const std::optional<std::size_t> count = Console::read(text);
    if (!count)
        return "<error>";
    text.resize(*count);
    return text.empty() ? "<end>" : text;
}

TEST(Console, ReadsWhatThereIsWithoutWaitingForMore) {
    int ends[2];
    ASSERT_EQ(pipe(ends), 0);
    const Instead input(STDIN_FILENO, ends[0]);
    ASSERT_EQ(write(ends[1], "one\ntwo\n", 8), 8);
    EXPECT_EQ(readInput(100), "one\ntwo\n");
    ASSERT_EQ(write(ends[1], "a\0\r\x1a", 4), 4);
    EXPECT_EQ(readInput(3), (std::string{'a', '\0', '\r'}));
    EXPECT_EQ(readInput(3), "\x1a");
    close(ends[1]);
    EXPECT_EQ(readInput(100), "<end>");
}

TEST(Console, WaitsForInputEvenWhereReadingDoesNot) {
    int ends[2];
    ASSERT_EQ(pipe(ends), 0);
    const Instead input(STDIN_FILENO, ends[0]);
    ASSERT_EQ(fcntl(STDIN_FILENO, F_SETFL, O_NONBLOCK), 0);
    std::thread writer([&] {
        std::this_thread::sleep_for(std::chrono::milliseconds(20));
        EXPECT_EQ(write(ends[1], "late", 4), 4);
    });
    EXPECT_EQ(readInput(100), "late");
    writer.join();
    close(ends[1]);
    EXPECT_EQ(readInput(100), "<end>");
}

TEST(Console, TellsThatReadingFailed) {
    const Instead folder(STDIN_FILENO, open("/", O_RDONLY));
    EXPECT_EQ(readInput(100), "<error>");
}

TEST(Console, WritesAllOfATextToItsStream) {
    const TempFiles::Folder folder;
    const std::string path = folder.write("written", "");
    const std::string text(100001, 'x');
    for (const auto& [number, stream] :
         {std::pair{STDOUT_FILENO, Stream::Output}, {STDERR_FILENO, Stream::Error}}) {
        const Instead file(number, open(path.c_str(), O_WRONLY | O_TRUNC));
        EXPECT_TRUE(Console::write(stream, ""));
        EXPECT_TRUE(Console::write(stream, "one"));
        EXPECT_TRUE(Console::write(stream, text));
        EXPECT_TRUE(TempFiles::read(path) == "one" + text);
    }
}

TEST(Console, AFileThatMayGrowNoMoreIsToldInTheResult) {
    const TempFiles::Folder folder;
    const std::string path = folder.write("written", "");
    const TempFiles::SizeLimit full(1000);
    Console::ignoreWriteSignals();
    bool first = false;
    bool second = true;
    {
        const Instead file(STDOUT_FILENO, open(path.c_str(), O_WRONLY));
        first = Console::write(Stream::Output, std::string(900, 'x'));
        second = Console::write(Stream::Output, std::string(900, 'x'));
    }
    EXPECT_TRUE(first);
    EXPECT_FALSE(second);
}

TEST(Console, APipeIsReadyUntilItIsFull) {
    int ends[2];
    ASSERT_EQ(pipe(ends), 0);
    bool wasReady = false;
    bool isReady = true;
    {
        const Instead filled(STDERR_FILENO, ends[1]);
        for (int i = 0; i < 10000 && Console::waitUntilReady(Stream::Error, 0); ++i)
            wasReady = Console::write(Stream::Error, std::string(Console::kReadyBytes, 'x'));
        isReady = Console::waitUntilReady(Stream::Error, 10);
    }
    close(ends[0]);
    EXPECT_TRUE(wasReady);
    EXPECT_FALSE(isReady);
}

TEST(Console, AClosedStreamGetsAnEndThatTakesNothing) {
    const auto openFile = [] {
        close(STDOUT_FILENO);
        Console::fillClosedStreams();
        const TempFiles::Folder folder;
        const int file = open(folder.pathOf("file").c_str(), O_CREAT | O_WRONLY, 0600);
        _exit(file > STDERR_FILENO && !Console::write(Stream::Output, "x") ? 0 : 1);
    };
    EXPECT_EXIT(openFile(), testing::ExitedWithCode(0), "");
}

TEST(Console, KnowsATerminal) {
    const int terminal = posix_openpt(O_RDWR | O_NOCTTY);
    if (terminal < 0)
        GTEST_SKIP() << "no terminals here";
    bool isTerminal = false;
    {
        const Instead typed(STDIN_FILENO, terminal);
        isTerminal = Console::isTerminal(Stream::Input);
    }
    EXPECT_TRUE(isTerminal);
    const Instead nothing(STDIN_FILENO, open("/dev/null", O_RDONLY));
    EXPECT_FALSE(Console::isTerminal(Stream::Input));
}

} // namespace
