#include "pack/rows.h"

#include "eval/evaluate.h"
#include "pack/line.h"

#include <limits>

namespace Pack {

namespace {

template <class Number>
bool fits(std::int64_t number) {
    return number >= std::numeric_limits<Number>::min() &&
           number <= std::numeric_limits<Number>::max();
}

template <class Number>
bool append(std::vector<Number>& column, std::int64_t number) {
    column.push_back(static_cast<Number>(number));
    return fits<Number>(number);
}

} // namespace

void Rows::clear() {
    value.clear();
    score.clear();
    baseMg.clear();
    baseEg.clear();
    length.clear();
    phase.clear();
    scale.clear();
    clock.clear();
    flags.clear();
    entries.clear();
}

Fault RowPacker::add(std::string_view line, Place& last, Rows& rows) {
    std::int64_t moveNumber = 0;
    if (!isLineOfDataGen(line, moveNumber) || !parseDataGenLine(line, sample_))
        return Fault::NoLine;
    if (!board_->setFen(sample_.fen))
        return Fault::NoPosition;
    const bool isWhite = board_->sideToMove == White;
    const auto halfPoints = static_cast<std::uint8_t>(2 * sample_.result);
    const Place place{2 * moveNumber + !isWhite, halfPoints};
    rows.flags.push_back(static_cast<std::uint8_t>(halfPoints | (isWhite ? kWhiteToMove : 0) |
                                                   (last.isFollowedBy(place) ? 0 : kFirstOfGame)));
    last = place;
    rows.score.push_back(kNoScore);
    if (sample_.hasScore) {
        if (!fits<std::int16_t>(sample_.score) || sample_.score == kNoScore)
            return Fault::NoFit;
        rows.score.back() = static_cast<std::int16_t>(sample_.score);
    }
    return addPosition(rows);
}

/// Appends the entries of the counts in `trace_` and reads them back, which takes all counts away.
/// Adds what the entries are worth to `total`. Returns false if they do not count the same.
bool RowPacker::addEntries(std::vector<std::uint8_t>& entries, ScorePair& total) {
    EntryWriter writer(entries);
    std::size_t read = entries.size();
    std::size_t place = 0;
    const auto readBack = [&] {
        const auto written = std::span(entries).subspan(read);
        read = entries.size();
        return reader_.takeOff(written, place, trace_, total);
    };
    writer.useTogether(trace_);
    if (!readBack())
        return false;
    if (countsNothing(trace_)) [[likely]]
        return true;
    writer.useAlone(trace_);
    return readBack() && countsNothing(trace_);
}

Fault RowPacker::addPosition(Rows& rows) {
    trace_.mgBase = trace_.egBase = 0;
    Tune::extract(*board_, trace_);
    const int forSideToMove = evaluate(*board_);
    const int value = board_->sideToMove == White ? forSideToMove : -forSideToMove;
    const std::size_t before = rows.entries.size();
    ScorePair total{trace_.mgBase, trace_.egBase};
    if (!addEntries(rows.entries, total)) {
        trace_ = {};
        return Fault::OtherCounts;
    }

    bool isWhole = append(rows.value, value);
    isWhole &= append(rows.baseMg, trace_.mgBase);
    isWhole &= append(rows.baseEg, trace_.egBase);
    isWhole &= append(rows.length, static_cast<std::int64_t>(rows.entries.size() - before));
    isWhole &= append(rows.phase, trace_.phase);
    isWhole &= append(rows.scale, trace_.egScale);
    isWhole &= append(rows.clock, board_->halfmoveClock);
    if (!isWhole)
        return Fault::NoFit;
    const int unfaded = Eval::taper(total, rows.phase.back(), rows.scale.back());
    return Eval::fade(unfaded, rows.clock.back()) == value ? Fault::None : Fault::OtherValue;
}

} // namespace Pack
