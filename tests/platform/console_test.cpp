#include "platform/console.h"

#include "support/temp_files.h"

#include <gtest/gtest.h>

#include <cstdlib>
#include <string>

#include <fcntl.h>
#include <unistd.h>

using Console::Stream;

namespace {

/// Something else in the place of a standard stream, until the end.
class Instead {
  public:
    Instead(int stream, int file) : stream_(stream), before_(dup(stream)) {
        dup2(file, stream_);
        close(file);
    }
    ~Instead() {
        dup2(before_, stream_);
        close(before_);
    }
    Instead(const Instead&) = delete;
    Instead& operator=(const Instead&) = delete;

  private:
    int stream_;
    int before_;
};

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
