#include "tools/tuneexport.h"

#include "base/files.h"
#include "base/output.h"
#include "platform/file.h"
#include "tools/dataline.h"
#include "tools/messages.h"
#include "tools/tune.h"

#include <charconv>
#include <memory>

namespace {

// Rows are gathered to about this many bytes before they are written.
constexpr std::size_t kBatch = std::size_t{1} << 18;

void appendNumber(std::string& text, int value) {
    char digits[12];
    const auto end = std::to_chars(std::begin(digits), std::end(digits), value).ptr;
    text += ' ';
    text.append(digits, end);
}

std::string_view resultText(double result) {
    return result == 0.5 ? "0.5" : result > 0.5 ? "1" : "0";
}

void appendRow(std::string& text, double result, const Tune::Trace& trace) {
    int used = 0;
    for (int k = 0; k < Tune::NPARAMS; ++k)
        used += (trace.mg[k] | trace.eg[k]) != 0;
    text += resultText(result);
    for (const int value : {trace.phase, trace.egScale, trace.mgBase, trace.egBase, used})
        appendNumber(text, value);
    for (int k = 0; k < Tune::NPARAMS; ++k)
        if ((trace.mg[k] | trace.eg[k]) != 0)
            for (const int value : {k, trace.mg[k], trace.eg[k]})
                appendNumber(text, value);
    text += '\n';
}

/// Turns lines of data into rows.
class Exporter {
  public:
    /// Appends the row of a line, or counts the line as invalid.
    void add(std::string_view line) {
        DataGenSample sample;
        if (!parseDataGenLine(line, sample) || !board_->setFen(sample.fen)) {
            ++invalid_;
            return;
        }
        Tune::Trace trace;
        Tune::extract(*board_, trace);
        appendRow(rows_, sample.result, trace);
        ++valid_;
    }

    void addUnreadable() { ++invalid_; }

    /// Writes the rows if there are enough of them; the rest with `all`.
    bool write(Files::RecordWriter& out, bool all) {
        if (rows_.size() < kBatch && !all)
            return true;
        const bool written = out.append(rows_);
        rows_.clear();
        return written;
    }

    std::string summary() const {
        return "featureexport: " + std::to_string(valid_) + " позицій, " +
               std::to_string(invalid_) + " невалідних, " + std::to_string(Tune::NPARAMS) +
               " параметрів\n";
    }

  private:
    std::unique_ptr<Board> board_ = std::make_unique<Board>();
    std::string rows_;
    std::int64_t valid_ = 0;
    std::int64_t invalid_ = 0;
};

int fail(const std::string& message) {
    Output::writeError(message);
    return 1;
}

} // namespace

int runFeatureExport(const std::string& in, const std::string& out) {
    Files::LineReader reader;
    if (!reader.open(in))
        return fail(Messages::exportInputNotOpened(in));
    if (areSameFile(in, out))
        return fail(Messages::exportOntoItself(out));
    Files::RecordWriter writer;
    if (!writer.open(out) || !writer.clear())
        return fail(Messages::exportOutputNotOpened(out));

    using Status = Files::LineReader::Status;
    Exporter exporter;
    std::string_view line;
    Status status = Status::Line;
    while ((status = reader.next(line)) != Status::End) {
        if (status == Status::Error)
            return fail(Messages::exportNotRead(in));
        if (status == Status::TooLong)
            exporter.addUnreadable();
        else if (!line.empty())
            exporter.add(line);
        if (!exporter.write(writer, false))
            return fail(Messages::exportNotWritten(out));
    }
    if (!exporter.write(writer, true) || !writer.close())
        return fail(Messages::exportNotWritten(out));
    Output::writeError(exporter.summary());
    return 0;
}

int runTuneParams() {
    int values[Tune::NPARAMS];
    Tune::initValues(values);
    bool written = Output::tryWrite("# Morvane tune params: index name value  (NPARAMS=" +
                                    std::to_string(Tune::NPARAMS) + ")\n");
    for (int k = 0; k < Tune::NPARAMS && written; ++k)
        written = Output::tryWrite(std::to_string(k) + " " + Tune::paramName(k) + " " +
                                   std::to_string(values[k]) + "\n");
    return written ? 0 : fail(std::string(Messages::kParamsNotWritten));
}
