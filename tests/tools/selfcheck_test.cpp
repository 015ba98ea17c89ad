#include "search/movepicker.h"
#include "selfcheck/checks.h"
#include "selfcheck/picker_check.h"
#include "tools/tune.h"

#include <gtest/gtest.h>

#include <string>

namespace {

/// What a call prints; its result goes to `result`.
template <class Call, class Result>
std::string printed(Call call, Result& result) {
    testing::internal::CaptureStdout();
    result = call();
    return testing::internal::GetCapturedStdout();
}

const std::string kOrderPassed = "[PASS] MovePicker == generateMoves+sortMoves (послідовно): "
                                 "512 прогонів (171 з валідним TT-ходом), 0 розбіжностей\n";
const std::string kTailPassed = "[PASS] MovePicker + dropLmpQuiets == еталон без LMP-хвоста: "
                                "2560 прогонів (сигнал на 5 межах), 0 розбіжностей\n";

TEST(MovePickerCheck, PassesThePicker) {
    bool differs = true;
    EXPECT_EQ(printed(runMovePickerOrderTest, differs), kOrderPassed + kTailPassed);
    EXPECT_FALSE(differs);
}

/// A picker that hands out its second and third move the wrong way round.
class SwappingPicker : public MovePicker {
  public:
    using MovePicker::MovePicker;

    Move next() {
        ++calls_;
        if (calls_ == 2) {
            held_ = MovePicker::next();
            const Move third = MovePicker::next();
            return third != 0 ? third : std::exchange(held_, 0);
        }
        return held_ != 0 ? std::exchange(held_, 0) : MovePicker::next();
    }

  private:
    int calls_ = 0;
    Move held_ = 0;
};

/// One that never ends a list before its time but leaves out its last move.
class ShortPicker : public MovePicker {
  public:
    ShortPicker(const Thread& thread, const Board& board, Move tableMove)
        : MovePicker(thread, board, tableMove), held_(MovePicker::next()) {}

    Move next() {
        const Move following = MovePicker::next();
        return following == 0 ? 0 : std::exchange(held_, following);
    }

  private:
    Move held_;
};

/// One that does not hear that quiet moves without check are no longer wanted.
class DeafPicker : public MovePicker {
  public:
    using MovePicker::MovePicker;
    void keepQuietChecksOnly(const CheckInfo&) {}
};

template <class Picker>
std::string verdictOf() {
    bool differs = false;
    const std::string text = printed([] { return PickerCheck<Picker>().run(); }, differs);
    EXPECT_TRUE(differs);
    return text;
}

int occurrences(const std::string& text, const std::string& part) {
    int count = 0;
    for (std::size_t at = text.find(part); at != std::string::npos; at = text.find(part, at + 1))
        ++count;
    return count;
}

TEST(MovePickerCheck, CatchesAWrongOrder) {
    const std::string text = verdictOf<SwappingPicker>();
    EXPECT_EQ(occurrences(text, "        розбіжність: fen="), 3);
    EXPECT_EQ(occurrences(text, " trial=0 на позиції 1\n          picker: "), 1);
    EXPECT_EQ(occurrences(text, "\n          sort  : "), 3);
    EXPECT_EQ(occurrences(text, "[FAIL] MovePicker == generateMoves+sortMoves (послідовно): 512 "
                                "прогонів (171 з валідним TT-ходом), 512 розбіжностей\n"),
              1);
}

TEST(MovePickerCheck, CatchesAMissingMove) {
    const std::string text = verdictOf<ShortPicker>();
    EXPECT_EQ(occurrences(text, "[FAIL] MovePicker =="), 1);
    EXPECT_EQ(occurrences(text, "[FAIL] MovePicker + "), 1);
}

TEST(MovePickerCheck, CatchesADeafTail) {
    const std::string text = verdictOf<DeafPicker>();
    EXPECT_TRUE(text.find(kOrderPassed) != std::string::npos);
    EXPECT_EQ(occurrences(text, "        LMP-хвіст: fen="), 3);
    // Of 20 quiet moves the table move alone stays.
    EXPECT_EQ(occurrences(text, " trial=0 k=0 picker 20 ходів, очікувано 1\n"), 1);
    EXPECT_EQ(occurrences(text, "[FAIL] MovePicker + dropLmpQuiets == еталон без LMP-хвоста: 2560 "
                                "прогонів (сигнал на 5 межах), 2048 розбіжностей\n"),
              1);
}

TEST(TuneVerify, PassesTheWeights) {
    int failures = -1;
    EXPECT_EQ(printed(runTuneVerify, failures), "21/21 tune reconstruct tests passed\n");
    EXPECT_EQ(failures, 0);
}

TEST(TuneVerify, CatchesAWrongWeightAndABadFen) {
    int values[Tune::NPARAMS];
    Tune::initValues(values);
    ++values[0]; // a pawn in the middle game
    constexpr std::string_view kFens[] = {
        "rnbqkbnr/pppppppp/8/8/8/8/PPPPPPPP/RNBQKBNR w KQkq - 0 1",
        "8/8/8/8/8/8/8/8 w - - 0 1",
        "rnbqkbnr/pppppppp/8/8/8/8/PPPPPPP1/RNBQKBNR b KQkq - 0 1",
    };
    int failures = 0;
    const std::string text = printed([&] { return verifyReconstruction(kFens, values); }, failures);
    EXPECT_EQ(failures, 2);
    EXPECT_EQ(occurrences(text, "[FAIL] tune: невалідний FEN: 8/8/8/8/8/8/8/8 w - - 0 1\n"), 1);
    EXPECT_EQ(occurrences(text, "[FAIL] tune reconstruct "), 1);
    EXPECT_EQ(occurrences(text, "  (rnbqkbnr/pppppppp/8/8/8/8/PPPPPPP1/RNBQKBNR b KQkq - 0 1)\n"),
              1);
}

TEST(EvalChecks, PassWhatTheBoardKeeps) {
    bool differs = true;
    const std::string text = printed(runEvalChecks, differs);
    EXPECT_FALSE(differs);
    EXPECT_EQ(occurrences(text, "[PASS] evalStateCheck: "), 1);
    EXPECT_EQ(occurrences(text, "[PASS] evalPawnsCheck: "), 1);
    EXPECT_EQ(occurrences(text, " позицій, 0 розбіжностей\n"), 2);
}

} // namespace
