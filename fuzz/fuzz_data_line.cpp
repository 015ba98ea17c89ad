#include "capture.h"
#include "eval/evaluate.h"
#include "fen_mutator.h"
#include "naive_number.h"
#include "support.h"
#include "tools/dataline.h"
#include "tools/tune.h"
#include "tools/tuneexport.h"

#include <sys/mman.h>

#include <array>
#include <fstream>
#include <memory>
#include <sstream>
#include <string>

/// The input is a line of a data file. A second reader says whether it is to be accepted and as
/// what; what was read and is written again must read the same; and the features of its position
/// must give the evaluation back, in memory and as a row of the exported file.
namespace {

using Fuzz::require;

constexpr std::string_view kBlanks = " \t\r\n";
constexpr std::array<std::string_view, 3> kResults = {"1.0", "0.5", "0.0"};

// One line in this many is exported: that costs as much as a hundred of the others, because the
// reader of files takes memory for the longest line.
constexpr std::uint64_t kExportedShare = 4096;

// --- the second reader ---

std::string_view withoutBlanksAtEnd(std::string_view text) {
    while (!text.empty() && kBlanks.find(text.back()) != std::string_view::npos)
        text.remove_suffix(1);
    return text;
}

std::string_view withoutBlanksInFront(std::string_view text) {
    while (!text.empty() && kBlanks.find(text.front()) != std::string_view::npos)
        text.remove_prefix(1);
    return text;
}

/// Reads what stands behind a result as nothing or a score.
bool readRest(std::string_view rest, DataGenSample& out) {
    out.hasScore = !rest.empty();
    if (rest.empty())
        return out.fen.back() != ']'; // the result would be a score and the text before it a result
    if (rest.front() != '[' || rest.back() != ']' || rest.find('[', 1) != std::string_view::npos)
        return false;
    const auto score = NaiveNumber::readStrictly(rest.substr(1, rest.size() - 2));
    out.score = score.value_or(0);
    return score.has_value();
}

/// Looks for a result with nothing but a score behind it.
bool readNaively(std::string_view line, DataGenSample& out) {
    for (std::size_t at = line.find('['); at != std::string_view::npos; at = line.find('[', at + 1))
        for (const std::string_view result : kResults) {
            const std::string field = '[' + std::string(result) + ']';
            if (line.substr(at, field.size()) != field)
                continue;
            out = {};
            out.fen = withoutBlanksAtEnd(line.substr(0, at));
            out.result = result == "1.0" ? 1.0 : result == "0.5" ? 0.5 : 0.0;
            const std::string_view rest =
                withoutBlanksInFront(withoutBlanksAtEnd(line.substr(at + field.size())));
            if (!out.fen.empty() && readRest(rest, out))
                return true;
        }
    return false;
}

// --- lines ---

bool same(const DataGenSample& a, const DataGenSample& b) {
    return a.fen == b.fen && a.result == b.result && a.hasScore == b.hasScore && a.score == b.score;
}

/// A line that is written reads as what was written, if it has one end only.
void checkWriting(const DataGenSample& sample) {
    std::string written = "before";
    appendDataGenLine(written, sample);
    require(written.starts_with("before" + sample.fen) && written.back() == '\n',
            "a line is appended and ended");
    DataGenSample again;
    require(parseDataGenLine(std::string_view(written).substr(6), again) && same(sample, again),
            "a written line reads as what was written", written);
}

// --- features ---

const std::array<int, Tune::NPARAMS>& weights() {
    static const auto values = [] {
        std::array<int, Tune::NPARAMS> list;
        Tune::initValues(list.data());
        return list;
    }();
    return values;
}

/// A row of the exported file, read back. Returns false if it is none.
bool readRow(const std::string& text, std::string& result, Tune::Trace& trace) {
    std::istringstream in(text);
    int used = 0;
    in >> result >> trace.phase >> trace.egScale >> trace.mgBase >> trace.egBase >> used;
    for (int last = -1, index = 0; used > 0 && in; --used, last = index) {
        in >> index;
        if (!in || index <= last || index >= Tune::NPARAMS)
            return false;
        in >> trace.mg[index] >> trace.eg[index];
    }
    return in && in.get() == '\n' && in.peek() == std::istringstream::traits_type::eof();
}

/// A file that lies in memory.
struct MemoryFile {
    std::string path = "/proc/self/fd/" + std::to_string(memfd_create("line", 0));

    std::string content() const {
        std::ifstream file(path, std::ios::binary);
        return {std::istreambuf_iterator<char>(file), {}};
    }
};

void checkExport(std::string_view line, const Board& board, const DataGenSample& sample) {
    static const MemoryFile in;
    static const MemoryFile out;
    std::ofstream(in.path, std::ios::binary) << line;
    const Capture errors(STDERR_FILENO);
    require(runFeatureExport(in.path, out.path) == 0, "a line is exported");
    require(errors.text() == "featureexport: 1 позицій, 0 невалідних, 1082 параметрів\n",
            "the export counts its lines");
    Tune::Trace trace;
    std::string result;
    require(readRow(out.content(), result, trace), "an exported row can be read", out.content());
    require(result == (sample.result == 1   ? "1"
                       : sample.result == 0 ? "0"
                                            : "0.5"),
            "a row begins with the result", result);
    require(Tune::reconstruct(board, trace, weights().data()) == evaluate(board),
            "an exported row gives the evaluation back");
}

void checkFeatures(std::string_view line, const Board& board, const DataGenSample& sample) {
    Tune::Trace trace;
    Tune::extract(board, trace);
    require(trace.phase >= 0 && trace.phase <= 24 && trace.egScale >= 0 && trace.egScale <= 64,
            "phase and scale lie within their bounds");
    require(Tune::reconstruct(board, trace, weights().data()) == evaluate(board),
            "features and weights give the evaluation", board.fen());
    // Within the file the line's end would be another one.
    if (Fuzz::digest(line) % kExportedShare == 0 && line.find('\n') == std::string_view::npos)
        checkExport(line, board, sample);
}

} // namespace

extern "C" int LLVMFuzzerInitialize(int*, char***) {
    Fuzz::startEngine();
    return 0;
}

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    static const auto board = std::make_unique<Board>();
    const std::string_view line = Fuzz::textOf(data, size);
    DataGenSample sample;
    DataGenSample wanted;
    const bool accepted = parseDataGenLine(line, sample);
    require(accepted == readNaively(line, wanted), "both readers accept the same lines");
    if (!accepted)
        return 0;
    require(same(sample, wanted), "both readers understand a line alike");
    checkWriting(sample);
    if (board->setFen(sample.fen))
        checkFeatures(line, *board, sample);
    return 0;
}

/// Most often changes the position and leaves the fields alone, or the other way round.
extern "C" std::size_t LLVMFuzzerCustomMutator(std::uint8_t* data, std::size_t size,
                                               std::size_t maxSize, unsigned int seed) {
    Fuzz::Random random(seed);
    const std::string_view line = Fuzz::textOf(data, size);
    const std::size_t fields = line.find('[');
    if (random.oneIn(3) || fields == std::string_view::npos)
        return LLVMFuzzerMutate(data, size, maxSize);
    if (random.oneIn(3))
        return fields + LLVMFuzzerMutate(data + fields, size - fields, maxSize - fields);
    const std::string changed =
        FenMutator::change(line.substr(0, fields), random) + ' ' + std::string(line.substr(fields));
    return Fuzz::replaceInput(changed, data, size, maxSize);
}
