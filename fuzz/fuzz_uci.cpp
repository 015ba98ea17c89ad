#include "capture.h"
#include "search/thread.h"
#include "support.h"
#include "uci/uci.h"
#include "uci_grammar.h"
#include "uci_model.h"

#include <algorithm>
#include <condition_variable>
#include <memory>
#include <mutex>
#include <optional>
#include <span>
#include <thread>

/// The input is a stream of commands for the loop. A model of the loop says what has to be printed;
/// what searches print must follow the protocol: one answer each, with a move and a line of moves
/// that are legal.
namespace {

using Fuzz::require;
using UciModel::Script;

/// The loop on a thread of its own, and its standard input. It lives through many streams: starting
/// it costs as much as twenty of them.
class Loop {
  public:
    Loop() {
        reading_ = this;
        thread_ = std::thread(uciLoop, read);
    }
    ~Loop() {
        {
            const std::lock_guard lock(mutex_);
            ended_ = true;
            changed_.notify_all();
        }
        if (thread_.joinable()) // no "quit" has ended it
            thread_.join();
    }

    /// Hands the lines out and returns when the loop asks for more, or ends.
    void serve(const std::vector<UciModel::Line>& lines) {
        std::unique_lock lock(mutex_);
        lines_ = lines;
        next_ = 0;
        changed_.notify_all();
        changed_.wait(lock, [this] { return next_ > lines_.size(); });
    }

    /// The same for a stream that ends with "quit". Returns how many lines were not read.
    std::size_t serveToQuit(const std::vector<UciModel::Line>& lines) {
        {
            const std::lock_guard lock(mutex_);
            lines_ = lines;
            next_ = 0;
            changed_.notify_all();
        }
        thread_.join();
        return lines_.size() - next_;
    }

  private:
    /// The loop's standard input.
    static std::optional<std::size_t> read(std::span<char> space) {
        const std::string text = reading_->nextLine();
        require(text.size() <= space.size(), "the loop has room for a line");
        std::copy(text.begin(), text.end(), space.begin());
        return text.size();
    }

    /// Hands out one line, or nothing at the end. Lets small searches end first.
    std::string nextLine() {
        std::unique_lock lock(mutex_);
        if (next_ > 0 && next_ <= lines_.size() && lines_[next_ - 1].awaitsSearch)
            gThreads.waitForSearchFinished();
        if (next_ == lines_.size()) {
            ++next_; // all are served
            changed_.notify_all();
        }
        changed_.wait(lock, [this] { return next_ < lines_.size() || ended_; });
        if (next_ >= lines_.size())
            return {};
        return lines_[next_++].text + '\n';
    }

    static inline Loop* reading_ = nullptr;
    std::mutex mutex_;
    std::condition_variable changed_;
    std::vector<UciModel::Line> lines_;
    std::size_t next_ = 1; // one more than there are lines: all are served
    bool ended_ = false;
    std::thread thread_;
};

/// Compares what the loop printed with the script, line by line.
class Reader {
  public:
    explicit Reader(const Script& script) : script_(script) { setUpSearch(); }

    void read(std::string_view line) {
        if (line.starts_with("bestmove "))
            answer(line);
        else if (line.starts_with("info depth "))
            progress(line);
        else if (line.starts_with("pos ") || line.starts_with("bench: "))
            expected(benchLine(line), line);
        else
            expected(line, line);
    }

    void end() const {
        require(plain_ == script_.output.size(), "every command is answered",
                plain_ < script_.output.size() ? script_.output[plain_].text : "");
        require(search_ == script_.searches.size(), "every search is answered");
    }

  private:
    static Board& board() {
        static const auto position = std::make_unique<Board>();
        return *position;
    }

    /// Sets up the position whose search is to print next.
    void setUpSearch() {
        if (search_ < script_.searches.size())
            board().setFen(script_.searches[search_].fen);
    }

    void expected(std::string_view found, std::string_view line) {
        require(plain_ < script_.output.size() && script_.output[plain_].text == found,
                "a line of output is the one that belongs here", line);
        const UciModel::Output& wanted = script_.output[plain_++];
        require(search_ >= wanted.answeredAtLeast, "what disturbs a search ends it first", line);
        require(search_ <= wanted.answeredAtMost, "an infinite search goes on", line);
    }

    bool isLegal(std::string_view name) const {
        const Move m = matchMove(board(), parseUCIMove(name));
        return m != 0 && board().isLegal(m) && moveToString(m) == name;
    }

    void answer(std::string_view line) {
        require(search_ < script_.searches.size(), "only searches answer", line);
        OutputLine words(line);
        words.words("bestmove");
        if (script_.searches[search_].hasMove)
            require(isLegal(words.move()) && words.good() && words.atEnd(),
                    "a search answers with a legal move", line);
        else
            require(line == "bestmove 0000", "a search without a move says so", line);
        ++search_;
        setUpSearch();
    }

    void progress(std::string_view line) {
        require(search_ < script_.searches.size(), "only searches report", line);
        OutputLine words(line);
        words.words("info depth");
        if (words.startsWith("0 score")) {
            const bool inCheck = board().inCheck(board().sideToMove);
            require(firstLegalMove(board()) == 0 &&
                        line == (inCheck ? "info depth 0 score mate 0" : "info depth 0 score cp 0"),
                    "mate and stalemate are told apart", line);
            return;
        }
        words.number().words("seldepth").number();
        const bool isIteration = words.startsWith("score");
        if (isIteration)
            words.words("score").score();
        words.words("nodes").number().words("nps").number().words("time").number();
        if (isIteration)
            principalVariation(words.words("pv"), line);
        require(words.good() && words.atEnd(), "a report follows the protocol", line);
    }

    void principalVariation(OutputLine& words, std::string_view line) {
        require(words.good() && !words.atEnd(), "a principal variation has a move", line);
        while (words.good() && !words.atEnd()) {
            const std::string_view name = words.move();
            require(words.good() && isLegal(name), "a principal variation is legal", line);
            board().makeMove(matchMove(board(), parseUCIMove(name)));
        }
        setUpSearch();
    }

    /// What the script says for a line of the benchmark; the line itself if it is none.
    static std::string benchLine(std::string_view line) {
        OutputLine words(line);
        if (line.starts_with("bench: ")) {
            words.words("bench:").number().words("nodes").number().words("qnodes").number();
            words.words("ms").number().words("nps");
            checkSignature(line);
            return words.good() && words.atEnd() ? "bench" : std::string(line);
        }
        words.words("pos").number().words("depth 1 bestmove").move();
        words.words("score").score().words("nodes").number().words("qnodes").number();
        words.words("time").number().words("nps").number().words("pv");
        do
            words.move();
        while (words.good() && !words.atEnd());
        return std::string(words.good() ? line.substr(0, line.find(" depth")) : line);
    }

    /// The node counts of the benchmark are the same whatever went before.
    static void checkSignature(std::string_view line) {
        static const std::string first(line.substr(0, line.find(" qnodes")));
        require(line.starts_with(first), "the benchmark counts the same nodes every time", line);
    }

    const Script& script_;
    std::size_t plain_ = 0;
    std::size_t search_ = 0;
};

void check(const Script& script, std::string_view output, std::string_view errors) {
    require(output.empty() || output.back() == '\n', "output ends with a whole line");
    Reader reader(script);
    while (!output.empty()) {
        const std::size_t end = output.find('\n');
        reader.read(output.substr(0, end));
        output.remove_prefix(end + 1);
    }
    reader.end();
    require(errors == script.errors, "diagnostics are echoed on standard error", errors);
}

// --- mutations ---

constexpr std::string_view kLines[] = {
    "uci",
    "isready",
    "ucinewgame",
    "d",
    "stop",
    "quit",
    "go",
    "go infinite",
    "go depth 1",
    "go depth 2",
    "go depth 0",
    "go nodes 200",
    "go movetime 2",
    "go wtime 40 btime 40 winc 1 binc 1 movestogo 2",
    "go depth 2 searchmoves e2e4 ponder mate 3",
    "go depth x wtime 9",
    "perft",
    "perft 2",
    "perft 0",
    "perft 99999",
    "benchsearch 1",
    "position",
    "position startpos",
    "position startpos moves e2e4 e7e5 e1e1 g1f3",
    "position fen",
    "position fen moves e2e4",
    "position current",
    "position fen 8/P6k/8/8/8/8/8/K7 w - - 0 1 moves a7a8",
    "position fen r3k2r/8/8/8/8/8/8/R3K2R w KQkq - 99 60 moves e1g1 e8c8",
    "position fen 7k/5Q2/6K1/8/8/8/8/8 b - - 0 1",
    "position fen R6k/6pp/8/8/8/8/8/K7 b - - 0 1",
    "position fen k7/8/8/3pP3/8/8/8/K7 w - d6 0 1 moves e5d6 a8b8",
    "setoption name Hash value 2",
    "setoption name Hash value x",
    "setoption name HASH value 100000",
    "setoption name Threads value 2",
    "setoption name Threads value 0",
    "setoption name Threads",
    "setoption name Move Overhead value -5",
    "setoption name move overhead value 4 2",
    "setoption name Ponder value true",
    "setoption",
    "debug on",
};

/// A "position" command with a game of random legal moves.
std::string randomGame(Fuzz::Random& random) {
    static const auto board = std::make_unique<Board>();
    board->setFen(kStartFen);
    std::string text = "position startpos moves";
    for (std::size_t plies = random.below(30); plies > 0; --plies) {
        MoveList legal;
        generateLegalMoves(*board, legal);
        if (legal.count == 0)
            break;
        const Move m = legal.moves[random.below(static_cast<std::size_t>(legal.count))];
        text += ' ' + moveToString(m);
        board->makeMove(m);
    }
    return text;
}

/// Inserts a line, takes one out or changes the places of two.
std::string changeLines(std::string_view stream, Fuzz::Random& random) {
    std::vector<std::string> lines;
    for (std::size_t begin = 0, end = 0; begin < stream.size(); begin = end + 1) {
        end = std::min(stream.find('\n', begin), stream.size());
        lines.emplace_back(stream.substr(begin, end - begin));
    }
    const std::size_t at = random.below(lines.size() + 1);
    const auto place = lines.begin() + static_cast<std::ptrdiff_t>(at);
    if (at < lines.size() && random.oneIn(3))
        lines.erase(place);
    else if (at < lines.size() && random.oneIn(3))
        std::swap(lines[at], lines[random.below(lines.size())]);
    else
        lines.insert(place, random.oneIn(5) ? randomGame(random)
                                            : std::string(kLines[random.below(std::size(kLines))]));
    std::string text;
    for (const std::string& line : lines)
        text += line + '\n';
    return text;
}

} // namespace

extern "C" int LLVMFuzzerInitialize(int*, char***) {
    Fuzz::startEngine();
    return 0;
}

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    using UciModel::End;
    static UciModel::Model model;
    static std::unique_ptr<Loop> loop;
    const End end = size % 64 == 0 ? End::Quit : size % 64 == 1 ? End::EndOfInput : End::Open;
    const Script script = model.run(Fuzz::textOf(data, size), end);

    const Capture output(STDOUT_FILENO);
    const Capture errors(STDERR_FILENO);
    if (!loop)
        loop = std::make_unique<Loop>();
    if (end == End::Quit)
        require(loop->serveToQuit(script.lines) == 1, "the loop reads to \"quit\" and no further");
    else
        loop->serve(script.lines);
    if (end != End::Open)
        loop.reset();
    check(script, output.text(), errors.text());
    return 0;
}

extern "C" std::size_t LLVMFuzzerCustomMutator(std::uint8_t* data, std::size_t size,
                                               std::size_t maxSize, unsigned int seed) {
    Fuzz::Random random(seed);
    if (random.oneIn(3))
        return LLVMFuzzerMutate(data, size, maxSize);
    return Fuzz::replaceInput(changeLines(Fuzz::textOf(data, size), random), data, size, maxSize);
}
