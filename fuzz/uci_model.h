#pragma once

#include "board/movegen.h"
#include "naive_fen.h"
#include "naive_number.h"
#include "support.h"

#include <algorithm>
#include <memory>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

/// What the command loop is to make of a stream of commands: a second, plain loop without searches
/// that tells what has to be printed. It also makes the stream one that ends soon: commands whose
/// work would have no bound are replaced by small ones of their kind.
namespace UciModel {

// Bounds of what a stream may ask for.
constexpr int kMaxLines = 40;
constexpr int kMaxHashMb = 8;
constexpr int kMaxThreads = 4;
constexpr int kMaxPoolChanges = 2;
constexpr int kMaxAwaited = 2;
constexpr int kMaxDivides = 3;
constexpr int kMaxDividedMoves = 60; // beyond, as on boards full of queens, depth 1 must do

// Searches are waited for if they are small ones of boards on which quiescence is small, too.
constexpr int kAwaitedDepth = 2;
constexpr int kAwaitedNodes = 200;
constexpr int kAwaitedMs = 1;
constexpr int kAwaitedPhase = 26;

// Commands that take milliseconds, because they make threads or fetch memory, are fed in one stream
// of this many, and the benchmark, which takes ten times as long, in fewer still.
constexpr std::uint64_t kCostlyShare = 16;
constexpr std::uint64_t kBenchShare = 128;

/// How a stream ends: most leave the loop waiting for the next one.
enum class End { Open, Quit, EndOfInput };

/// A line to be fed to the loop.
struct Line {
    std::string text;
    bool awaitsSearch = false; // the line after it comes when the search has ended
};

/// A line that the loop is to print, and how many searches must and may have answered by then.
struct Output {
    std::string text;
    std::size_t answeredAtLeast;
    std::size_t answeredAtMost;
};

/// A search that the loop is to start.
struct Search {
    std::string fen;
    bool hasMove; // to answer with
};

/// All that a stream leads to.
struct Script {
    std::vector<Line> lines;
    std::vector<Output> output; // lines that are not of a search
    std::string errors;
    std::vector<Search> searches;
};

using Words = std::vector<std::string_view>;

inline std::string join(const Words& words, std::size_t begin, std::size_t end) {
    std::string text;
    for (std::size_t i = begin; i < end; ++i)
        text += (i == begin ? "" : " ") + std::string(words[i]);
    return text;
}

inline std::size_t indexOf(const Words& words, std::string_view word, std::size_t begin) {
    begin = std::min(begin, words.size());
    const auto at =
        std::find(words.begin() + static_cast<std::ptrdiff_t>(begin), words.end(), word);
    return static_cast<std::size_t>(at - words.begin());
}

/// The limits of a "go" that matter here.
struct Limits {
    std::int64_t depth = 100;
    std::int64_t nodes = 0;
    std::int64_t movetime = -1;
    bool infinite = false;
};

/// Reads the words behind "go". Numbers end where their digits end, whatever follows.
class LimitReader {
  public:
    explicit LimitReader(std::string_view text) : rest_(text) {}

    Limits read() {
        Limits limits;
        std::int64_t ignored = 0;
        std::string_view word;
        while (nextWord(word)) {
            constexpr std::int64_t kMost32 = 0x7FFFFFFF;
            bool good = true;
            if (word == "infinite")
                limits.infinite = true;
            else if (word == "depth")
                good = number(limits.depth, kMost32);
            else if (word == "movetime")
                good = number(limits.movetime, kMost32);
            else if (word == "nodes")
                good = number(limits.nodes, 0x7FFFFFFFFFFFFFFF);
            else if (word == "wtime" || word == "btime" || word == "winc" || word == "binc" ||
                     word == "movestogo")
                good = number(ignored, kMost32);
            if (!good)
                break;
        }
        return limits;
    }

  private:
    bool skipBlanks() {
        while (!rest_.empty() && NaiveFen::isBlank(rest_.front()))
            rest_.remove_prefix(1);
        return !rest_.empty();
    }

    bool nextWord(std::string_view& word) {
        if (!skipBlanks())
            return false;
        std::size_t size = 0;
        while (size < rest_.size() && !NaiveFen::isBlank(rest_[size]))
            ++size;
        word = rest_.substr(0, size);
        rest_.remove_prefix(size);
        return true;
    }

    /// A number that is missing leaves `out` alone, one that is none makes it 0, and one too large
    /// the nearest; all three end the reading.
    bool number(std::int64_t& out, std::int64_t most) {
        if (!skipBlanks())
            return false;
        const bool negative = rest_.front() == '-';
        if (negative || rest_.front() == '+')
            rest_.remove_prefix(1);
        __int128 value = 0;
        bool any = false;
        for (; !rest_.empty() && rest_.front() >= '0' && rest_.front() <= '9'; any = true) {
            value = std::min<__int128>(value * 10 + (rest_.front() - '0'), __int128{1} << 70);
            rest_.remove_prefix(1);
        }
        const __int128 bound = static_cast<__int128>(most) + (negative ? 1 : 0);
        const bool fits = value <= bound;
        value = std::min(value, bound);
        out = static_cast<std::int64_t>(negative ? -value : value);
        return any && fits;
    }

    std::string_view rest_;
};

class Model {
  public:
    Script run(std::string_view stream, End end) {
        script_ = {};
        divides_ = awaited_ = poolChanges_ = benches_ = 0;
        endSearch();
        quit_ = false;
        digest_ = Fuzz::digest(stream);
        board().setFen(kStartFen);
        for (int count = 0; !stream.empty() && !quit_ && count < kMaxLines; ++count) {
            const std::size_t size = std::min(stream.find('\n'), stream.size());
            serve(std::string(stream.substr(0, size)));
            stream.remove_prefix(std::min(size + 1, stream.size()));
        }
        finish(end);
        return std::move(script_);
    }

  private:
    // Too large for a stack frame, and one is enough.
    static Board& board() {
        static const auto position = std::make_unique<Board>();
        return *position;
    }

    void feed(std::string text, bool awaitsSearch = false) {
        script_.lines.push_back({std::move(text), awaitsSearch});
    }

    void expect(std::string line) {
        const std::size_t begun = script_.searches.size();
        script_.output.push_back({std::move(line), ended_, begun - (isInfinite_ ? 1 : 0)});
    }

    /// What happens before a command that disturbs searches.
    void endSearch() {
        ended_ = script_.searches.size();
        isInfinite_ = false;
    }

    void expectPosition() { expect("fen: " + board().fen()); }

    void expectDiagnostic(const std::string& text) {
        expect("info string " + text);
        script_.errors += text + '\n';
    }

    /// A refused command: the position must be what it was.
    void refuse(const std::string& text) {
        expectDiagnostic(text);
        feed("d");
        expectPosition();
    }

    void serve(const std::string& line) {
        const Words words = NaiveFen::wordsOf(line, line.size());
        const std::string_view command = words.empty() ? std::string_view() : words[0];
        if (command == "quit")
            quit_ = true; // fed at the end: the checks at the end need the loop
        else if (command == "go")
            go(line, line.substr(line.find("go") + 2));
        else if (command == "setoption")
            setOption(line, words);
        else if (command == "perft")
            divide(line, words);
        else if (command == "benchsearch")
            bench(line, words);
        else if ((command != "uci" && command != "ucinewgame") || mayBeCostly())
            serveBounded(line, command, words);
    }

    bool mayBeCostly() const { return digest_ % kCostlyShare == 0; }

    /// Commands of which none takes long.
    void serveBounded(const std::string& line, std::string_view command, const Words& words) {
        feed(line);
        if (command == "ucinewgame" || command == "position" || command == "stop")
            endSearch();
        if (command == "uci")
            for (const char* text :
                 {"id name Morvane 0.11.0", "id author the Morvane developers",
                  "option name Hash type spin default 64 min 1 max 65536",
                  "option name Threads type spin default 1 min 1 max 256",
                  "option name Move Overhead type spin default 10 min 0 max 5000", "uciok"})
                expect(text);
        else if (command == "isready")
            expect("readyok");
        else if (command == "ucinewgame")
            board().setFen(kStartFen);
        else if (command == "d")
            expectPosition();
        else if (command == "position")
            position(words);
    }

    void position(const Words& words) {
        constexpr const char* kUnchanged = " — позицію не змінено";
        if (words.size() < 2)
            return refuse(std::string("position: очікувалось startpos або fen") + kUnchanged);
        if (words[1] == "startpos") {
            board().setFen(kStartFen);
            return play(words, words.size() > 2 && words[2] == "moves" ? 3 : words.size());
        }
        if (words[1] != "fen")
            return refuse("position: невідомий аргумент \"" + std::string(words[1]) + '"' +
                          kUnchanged);
        const std::size_t moves = indexOf(words, "moves", 2);
        const std::string fen = join(words, 2, moves);
        if (fen.empty())
            return refuse(std::string("position fen: порожній FEN") + kUnchanged);
        static const auto next = std::make_unique<Board>();
        if (!next->setFen(fen))
            return refuse("position fen: некоректний FEN \"" + fen + '"' + kUnchanged);
        board().setFen(fen);
        play(words, moves + 1);
    }

    /// The legal move that a text means: characters behind the fifth do not count, and without a
    /// letter a pawn becomes a queen.
    static Move meantBy(std::string_view text) {
        MoveList legal;
        generateLegalMoves(board(), legal);
        for (const Move m : legal) {
            const std::string name = moveToString(m);
            if (name == text.substr(0, 5) || (text.size() == 4 && name == std::string(text) + 'q'))
                return m;
        }
        return 0;
    }

    void play(const Words& words, std::size_t begin) {
        for (std::size_t i = begin; i < words.size(); ++i) {
            const Move m = meantBy(words[i]);
            if (m == 0) {
                expectDiagnostic("position moves: хід \"" + std::string(words[i]) +
                                 "\" нелегальний у цій позиції — решту ходів пропущено");
                break;
            }
            board().makeMove(m);
            board().makeRoomInHistory();
        }
    }

    void setOption(const std::string& line, const Words& words) {
        const std::size_t value = indexOf(words, "value", 2);
        std::string name = words.size() < 2 ? "" : join(words, 2, value);
        for (char& c : name)
            c = c >= 'A' && c <= 'Z' ? static_cast<char>(c + 32) : c;
        if (name != "hash" && name != "threads" && name != "move overhead")
            return feed(line);
        const std::string text = value < words.size() ? join(words, value + 1, words.size()) : "";
        const std::optional<std::int32_t> number = NaiveNumber::readStrictly(text);
        if (number && name != "move overhead")
            return changePool(line, name, *number);
        feed(line);
        if (!number)
            refuse("setoption " + name + ": некоректне значення \"" + text +
                   "\" — опцію не змінено");
    }

    void changePool(const std::string& line, const std::string& name, int value) {
        const int most = name == "hash" ? kMaxHashMb : kMaxThreads;
        if (!mayBeCostly() || ++poolChanges_ > kMaxPoolChanges)
            return;
        endSearch();
        feed(value <= most ? line : "setoption name " + name + " value " + std::to_string(most));
    }

    void go(const std::string& line, std::string_view rest) {
        const Limits limits = LimitReader(rest).read();
        const bool small = (limits.depth <= kAwaitedDepth) ||
                           (limits.nodes >= 1 && limits.nodes <= kAwaitedNodes) ||
                           (limits.movetime >= 1 && limits.movetime <= kAwaitedMs);
        endSearch();
        const bool noDepth = !limits.infinite && limits.depth < 1;
        isInfinite_ = limits.infinite;
        script_.searches.push_back({board().fen(), !noDepth && firstLegalMove(board()) != 0});
        feed(line, small && !limits.infinite && board().phase <= kAwaitedPhase &&
                       ++awaited_ <= kMaxAwaited);
    }

    static std::uint64_t leaves(Board& board, int depth) {
        MoveList legal;
        generateLegalMoves(board, legal);
        std::uint64_t count = 0;
        for (const Move m : legal) {
            board.makeMove(m);
            count += depth > 1 ? leaves(board, depth - 1) : 1;
            board.unmakeMove(m);
        }
        return count;
    }

    void divide(const std::string& line, const Words& words) {
        const std::optional<std::int32_t> read =
            words.size() < 2 ? std::optional(1) : NaiveNumber::readStrictly(words[1]);
        const int depth = read.value_or(0);
        if (depth < 1 || depth > kMaxHistory) {
            feed(line);
            return refuse("perft: глибина має бути цілим числом >= 1");
        }
        if (++divides_ > kMaxDivides)
            return;
        MoveList legal;
        generateLegalMoves(board(), legal);
        const int served = std::min(depth, legal.count > kMaxDividedMoves ? 1 : 2);
        feed(served == depth ? line : "perft " + std::to_string(served));
        std::uint64_t total = 0;
        for (const Move m : legal) {
            board().makeMove(m);
            const std::uint64_t count = served > 1 ? leaves(board(), served - 1) : 1;
            board().unmakeMove(m);
            expect(moveToString(m) + ": " + std::to_string(count));
            total += count;
        }
        expect("");
        expect("Nodes searched: " + std::to_string(total));
    }

    void bench(const std::string& line, const Words& words) {
        if (digest_ % kBenchShare != 0 || ++benches_ > 1)
            return;
        endSearch();
        const bool isSmall = words.size() > 1 && (words[1] == "1" || words[1] == "+01");
        feed(isSmall ? line : "benchsearch 1");
        for (int i = 1; i <= 10; ++i)
            expect("pos " + std::to_string(i));
        expect("bench");
    }

    /// Whatever went before, the loop must still answer and know its position. Then everything is
    /// set back for the next stream. After "quit" nothing may be read.
    void finish(End end) {
        for (const char* text :
             {"isready", "d", "stop", "setoption name Move Overhead value 10", "position startpos"})
            feed(text);
        expect("readyok");
        expectPosition();
        if (poolChanges_ > 0)
            for (const char* text :
                 {"setoption name Threads value 1", "setoption name Hash value 1"})
                feed(text);
        if (end == End::Quit)
            for (const char* text : {"quit", "isready"})
                feed(text);
    }

    Script script_;
    bool quit_ = false;
    std::size_t ended_ = 0;   // searches that have certainly ended
    bool isInfinite_ = false; // the last one goes on until it is stopped
    std::uint64_t digest_ = 0;
    int divides_ = 0;
    int awaited_ = 0;
    int poolChanges_ = 0;
    int benches_ = 0;
};

} // namespace UciModel
