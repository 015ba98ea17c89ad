#include "pack/packer.h"

#include "pack/messages.h"
#include "pack/pieces.h"

#include <algorithm>
#include <cstring>

namespace Pack {

namespace {

/// Cuts a source into pieces of whole lines.
class PieceReader {
  public:
    explicit PieceReader(Source source) : source_(source) {}

    /// Fills a piece. Returns false if the source cannot be read. A last line without an end is a
    /// piece's last, and a line that fills a whole piece is all of one.
    bool read(Piece& piece) {
        std::copy(rest_.begin(), rest_.end(), piece.text.begin());
        piece.size = rest_.size();
        rest_.clear();
        while (piece.size < Piece::kBytes) {
            const auto count = source_(std::span(piece.text).subspan(piece.size));
            if (!count)
                return false;
            if (*count == 0) {
                hasEnded_ = true;
                return true;
            }
            piece.size += *count;
        }
        keepRest(piece);
        return true;
    }

    bool hasEnded() const { return hasEnded_; }

  private:
    /// Takes what is behind the last line end away from a full piece.
    void keepRest(Piece& piece) {
        const std::string_view text(piece.text.data(), piece.size);
        const std::size_t end = text.rfind('\n');
        if (end == std::string_view::npos)
            return;
        rest_.assign(text.begin() + static_cast<std::ptrdiff_t>(end) + 1, text.end());
        piece.size = end + 1;
    }

    Source source_;
    std::vector<char> rest_;
    bool hasEnded_ = false;
};

/// Brings packed pieces together again.
class Joiner {
  public:
    explicit Joiner(SegmentWriter& writer, const std::string& out) : writer_(writer), out_(out) {}

    /// Appends the rows of the next piece. Returns what is wrong.
    std::string add(Piece& piece) {
        if (piece.fault == Fault::NoMemory)
            return std::string(Messages::kNoMemory);
        if (piece.fault != Fault::None)
            return Messages::badLine(lines_ + piece.lines + 1, piece.fault, piece.badLine);
        if (piece.lines == 0)
            return {};
        lines_ += piece.lines;
        if (last_.isFollowedBy(piece.first))
            piece.rows.flags[0] &= static_cast<std::uint8_t>(~kFirstOfGame);
        last_ = piece.last;
        return writer_.append(piece.rows) ? "" : Messages::outNotWritten(out_);
    }

    std::string close() {
        if (lines_ == 0)
            return std::string(Messages::kNoPositions);
        return writer_.close() ? "" : Messages::outNotWritten(out_);
    }

  private:
    SegmentWriter& writer_;
    const std::string& out_;
    std::uint64_t lines_ = 0;
    Place last_;
};

} // namespace

std::string packAll(Source source, const std::string& out, const EntryReader& reader,
                    std::size_t threads, Totals& totals) {
    PackingThreads packing(threads, reader);
    SegmentWriter writer;
    if (!writer.create(out))
        return Messages::outNotCreated(out);
    PieceReader pieces(source);
    Joiner joiner(writer, out);
    std::string fault;
    while (fault.empty() && !(pieces.hasEnded() && packing.isEmpty())) {
        if (packing.isFull() || pieces.hasEnded()) {
            fault = joiner.add(packing.collect());
        } else if (pieces.read(packing.space())) {
            packing.handIn();
        } else {
            fault = Messages::kInputNotRead;
        }
    }
    if (fault.empty())
        fault = joiner.close();
    totals = writer.totals();
    return fault;
}

} // namespace Pack
