#include "base/output.h"

#include "support/temp_files.h"

#include <gtest/gtest.h>

#include <chrono>
#include <csignal>
#include <filesystem>
#include <string>
#include <thread>

#include <fcntl.h>
#include <unistd.h>

namespace {

/// A pipe in the place of a standard stream.
class PipeFor {
  public:
    explicit PipeFor(int stream) : stream_(stream), old_(dup(stream)) {
        int ends[2];
        if (pipe(ends) != 0)
            std::abort();
        reader_ = ends[0];
        dup2(ends[1], stream_);
        close(ends[1]);
    }
    ~PipeFor() {
        dup2(old_, stream_);
        close(old_);
        closeReader();
    }
    PipeFor(const PipeFor&) = delete;
    PipeFor& operator=(const PipeFor&) = delete;

    void closeReader() {
        if (reader_ >= 0)
            close(reader_);
        reader_ = -1;
    }

    /// The next so many bytes, or less if there come no more.
    std::string next(std::size_t size) const {
        std::string text(size, '\0');
        std::size_t got = 0;
        for (ssize_t count = 1; got < size && count > 0; got += static_cast<std::size_t>(count))
            if ((count = read(reader_, text.data() + got, size - got)) < 0)
                count = 0;
        return text.substr(0, got);
    }

    /// What has been written, and nothing will be any more.
    std::string rest() const {
        dup2(old_, stream_);
        return next(std::size_t{1} << 24);
    }

    void makeNonBlocking() const { fcntl(stream_, F_SETFL, O_NONBLOCK); }

  private:
    int stream_;
    int old_;
    int reader_;
};

/// Ends as a program does that goes on after its output.
template <class Call>
void callAndExit(Call call) {
    Output::init();
    call();
    _exit(0);
}

TEST(Output, WritesTexts) {
    PipeFor out(STDOUT_FILENO);
    Output::write("one\n");
    EXPECT_TRUE(Output::tryWrite("two\n"));
    Output::write("");
    EXPECT_EQ(out.rest(), "one\ntwo\n");
}

TEST(Output, AReaderThatHasGoneEndsTheProcess) {
    const auto writeToNobody = [] {
        PipeFor out(STDOUT_FILENO);
        out.closeReader();
        callAndExit([] { Output::write("line\n"); });
    };
    EXPECT_EXIT(writeToNobody(), testing::ExitedWithCode(1), "");
}

TEST(Output, AClosedStreamEndsTheProcess) {
    const auto writeNowhere = [] {
        close(STDOUT_FILENO);
        callAndExit([] { Output::write("line\n"); });
    };
    EXPECT_EXIT(writeNowhere(), testing::ExitedWithCode(1), "");
}

TEST(Output, AFileThatMayGrowNoMoreEndsTheProcess) {
    const auto writeTooMuch = [] {
        const TempFiles::Folder folder;
        const TempFiles::SizeLimit full(10);
        const int file = open(folder.pathOf("output").c_str(), O_CREAT | O_WRONLY, 0600);
        dup2(file, STDOUT_FILENO);
        std::filesystem::remove_all(folder.path()); // the process ends without cleaning up
        callAndExit([] { Output::write("a line of more than ten bytes\n"); });
    };
    EXPECT_EXIT(writeTooMuch(), testing::ExitedWithCode(1), "");
}

TEST(Output, WhoTriesIsToldInstead) {
    const auto tryWithoutReader = [] {
        PipeFor out(STDOUT_FILENO);
        out.closeReader();
        callAndExit([] { _exit(Output::tryWrite("line\n") ? 2 : 3); });
    };
    EXPECT_EXIT(tryWithoutReader(), testing::ExitedWithCode(3), "");
}

TEST(Output, ErrorsAndDiagnosticsNeedNoReader) {
    const auto writeToNobody = [] {
        PipeFor err(STDERR_FILENO);
        err.closeReader();
        callAndExit([] {
            Output::writeError("line\n");
            Output::writeDiagnostic("line\n");
        });
    };
    EXPECT_EXIT(writeToNobody(), testing::ExitedWithCode(0), "");
}

TEST(Output, ASlowReaderOfANonBlockingStreamGetsEverything) {
    PipeFor out(STDOUT_FILENO);
    out.makeNonBlocking();
    const std::string text = std::string(300000, 'x') + "\n"; // several times what a pipe holds
    std::string got;
    std::thread reader([&] {
        std::this_thread::sleep_for(std::chrono::milliseconds(50));
        got = out.next(text.size());
    });
    EXPECT_TRUE(Output::tryWrite(text));
    reader.join();
    EXPECT_TRUE(got == text) << got.size();
}

TEST(Output, DiagnosticsDoNotWaitForAReader) {
    const PipeFor err(STDERR_FILENO);
    for (int i = 0; i < 10000; ++i) // far more than a pipe holds: waiting would hang
        Output::writeDiagnostic("a line that nobody reads, a line that nobody reads\n");
    Output::writeDiagnostic(std::string(1 << 20, 'x') + "\n");
    const std::string text = err.rest();
    EXPECT_EQ(text.rfind("a line that nobody reads, a line that nobody reads\na line", 0), 0U);
}

TEST(Output, LongDiagnosticsComeWhole) {
    PipeFor err(STDERR_FILENO);
    std::string text;
    for (int i = 0; i < 3000; ++i)
        text += std::to_string(i) + " ";
    Output::writeDiagnostic(text + "\n");
    EXPECT_EQ(err.rest(), text + "\n");
}

#ifndef NDEBUG
TEST(Output, TextsHoldWholeLines) {
    EXPECT_DEATH(Output::write("no line"), "isWholeLines");
    EXPECT_DEATH(Output::writeError("no line"), "isWholeLines");
    EXPECT_DEATH(Output::writeDiagnostic("one\nno line"), "isWholeLines");
}
#endif

} // namespace
