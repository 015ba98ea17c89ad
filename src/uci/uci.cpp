#include "uci/uci.h"

#include "base/output.h"
#include "base/outputline.h"
#include "base/parse.h"
#include "base/words.h"
#include "board/movegen.h"
#include "search/thread.h"
#include "search/tt.h"
#include "tools/bench.h"
#include "uci/build_info.h"
#include "uci/divide.h"
#include "uci/messages.h"
#include "uci/options.h"
#include "uci/session.h"

#include <exception>
#include <new>
#include <string>

namespace {

/// The position that "go" searches.
Board gPos;

/// Joins words with single blanks up to the word `end`, which is taken as well, or to the end of
/// the line. Sets `found` if it met the word.
std::string joinUntil(Words& words, std::string_view end, bool& found) {
    std::string text;
    found = false;
    for (std::string_view word; words.next(word);) {
        if (word == end) {
            found = true;
            break;
        }
        if (!text.empty())
            text += ' ';
        text += word;
    }
    return text;
}

// --- commands ---

void uciCommand(Words&) {
    const auto idLine = [](std::string_view what, std::string_view text) {
        OutputLine().add("id ").add(what).add(" ").add(text).print();
    };
    idLine("name", std::string(Messages::kName) + " " + std::string(BuildInfo::kVersion));
    idLine("author", Messages::kAuthor);
    for (const UciOption& option : uciOptions())
        OutputLine()
            .add("option name ")
            .add(option.name)
            .add(" type spin default ")
            .add(option.defaultValue)
            .add(" min ")
            .add(option.min)
            .add(" max ")
            .add(option.max)
            .print();
    Output::write("uciok\n");
    gTT.prefaultPages(); // a client that says hello will want to play
}

void isReadyCommand(Words&) {
    Output::write("readyok\n");
}

void newGameCommand(Words&) {
    gTT.clear();
    gTT.prefaultPages();
    gPos.setFen(kStartFen);
}

void setOptionCommand(Words& words) {
    std::string_view skipped; // "name"
    words.next(skipped);
    bool found = false;
    std::string name = joinUntil(words, "value", found);
    bool unused = false;
    const std::string value = joinUntil(words, "", unused); // no word is empty: to the line's end
    setUciOption(std::move(name), value);
}

/// Plays the moves of a "position" command. The first one that cannot be played ends the list.
void playMoves(Board& board, Words& words) {
    for (std::string_view text; words.next(text);) {
        const Move parsed = parseUCIMove(text);
        const Move m = parsed ? matchMove(board, parsed) : 0;
        if (m == 0 || !board.isLegal(m)) {
            infoString(Messages::positionIllegalMove(std::string(text)));
            return;
        }
        board.makeMove(m);
        board.makeRoomInHistory();
    }
}

void positionCommand(Words& words) {
    static Board board; // the working copy: too large for a comfortable stack frame
    std::string_view word;
    bool moves = false;
    if (!words.next(word)) {
        infoString(std::string(Messages::kPositionMissing));
        return;
    }
    if (word == "startpos") {
        board.setFen(kStartFen);
        moves = words.next(word) && word == "moves";
    } else if (word == "fen") {
        const std::string fen = joinUntil(words, "moves", moves);
        if (fen.empty()) {
            infoString(std::string(Messages::kPositionEmptyFen));
            return;
        }
        if (!board.setFen(fen)) {
            infoString(Messages::positionBadFen(fen));
            return;
        }
    } else {
        infoString(Messages::positionUnknown(std::string(word)));
        return;
    }
    if (moves)
        playMoves(board, words);
    gPos = board;
}

/// Reads the limits of a "go" command. Unknown words are skipped; a value that is no number of its
/// type ends the list, and is then 0 or the nearest one.
SearchLimits parseLimits(Words& words) {
    SearchLimits limits;
    struct Field {
        std::string_view word;
        std::int32_t SearchLimits::*value;
    };
    constexpr Field kFields[] = {
        {"depth", &SearchLimits::depth},         {"movetime", &SearchLimits::movetime},
        {"wtime", &SearchLimits::wtime},         {"btime", &SearchLimits::btime},
        {"winc", &SearchLimits::winc},           {"binc", &SearchLimits::binc},
        {"movestogo", &SearchLimits::movestogo},
    };
    for (std::string_view word; words.next(word);) {
        if (word == "infinite")
            limits.infinite = true;
        else if (word == "nodes")
            words.next(limits.nodes);
        for (const Field& field : kFields)
            if (word == field.word)
                words.next(limits.*field.value);
    }
    return limits;
}

void goCommand(Words& words) {
    gThreads.startThinking(gPos, parseLimits(words));
}

void stopCommand(Words&) {} // stopping is all; the search answers itself

void displayCommand(Words&) {
    Output::write("fen: " + gPos.fen() + "\n");
}

void perftCommand(Words& words) {
    std::string_view text;
    int depth = 1;
    if (words.next(text) && !parseIntStrict(text, depth))
        depth = 0;
    if (canDivide(gPos, depth))
        printDivide(gPos, depth);
    else
        infoString(Messages::badDepth("perft"));
}

void benchSearchCommand(Words& words) {
    int depth = 0;
    if (!words.next(depth))
        depth = 0;
    runBenchSearch(depth);
}

struct Command {
    std::string_view word;
    bool stopsSearch; // first, whatever the search was doing
    void (*run)(Words&);
};

constexpr Command kCommands[] = {
    {"uci", false, uciCommand},
    {"isready", false, isReadyCommand},
    {"ucinewgame", true, newGameCommand},
    {"setoption", false, setOptionCommand}, // options stop the search that they disturb
    {"position", true, positionCommand},
    {"go", true, goCommand},
    {"stop", true, stopCommand},
    {"d", false, displayCommand},
    {"perft", false, perftCommand},
    {"benchsearch", true, benchSearchCommand},
};

/// Serves one line; returns false on "quit".
bool serve(std::string_view line) {
    Words words(line);
    std::string_view word;
    words.next(word);
    if (word == "quit")
        return false;
    for (const Command& command : kCommands)
        if (word == command.word) {
            if (command.stopsSearch)
                stopSearch();
            command.run(words);
            return true;
        }
    // A client may send what this engine does not know; a person has mistyped something.
    if (!word.empty() && Output::isInteractive())
        Output::writeDiagnostic(Messages::unknownCommand(word));
    return true;
}

/// Without blanks, carriage returns and line feeds at the end.
std::string_view trimmedEnd(std::string_view line) {
    return line.substr(0, line.find_last_not_of(" \r\n") + 1);
}

} // namespace

void beginSession() {
    initThreads();
    gPos.setFen(kStartFen);
}

// A line may ask for more than there is: an endless move list, perhaps. Whatever a command fails
// for, the session goes on. The answer needs no memory: there may be none.
bool serveLine(std::string_view line) {
    try {
        return serve(trimmedEnd(line));
    } catch (const std::bad_alloc&) {
        OutputLine().add("info string ").add(Messages::kCommandNeedsMemory).print();
    } catch (const std::exception& failure) {
        OutputLine().add("info string ").add(Messages::kCommandFailed).add(failure.what()).print();
    }
    return true;
}

void uciLoop(Files::LineReader::Source source) {
    beginSession();
    using Status = Files::LineReader::Status;
    Files::LineReader input(source);
    std::string_view line;
    for (Status status; (status = input.next(line)) == Status::Line || status == Status::TooLong;) {
        if (status == Status::TooLong)
            infoString(std::string(Messages::kLineTooLong));
        else if (!serveLine(line))
            break;
    }
    stopSearch();
    gTT.stopPrefault(); // or giving memory back, threads' stacks first, would wait for each page
}
