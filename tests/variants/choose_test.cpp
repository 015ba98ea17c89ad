#include "variants/choose.h"

#include <gtest/gtest.h>

namespace {

using Instructions::Set;

constexpr Set kNothing = 0;
constexpr Set kSome = 0b11;
constexpr Set kAll = 0b111;

constexpr Variant kOld = {"old", &kNothing, false, nullptr};
constexpr Variant kMiddle = {"middle", &kSome, false, nullptr};
constexpr Variant kNew = {"new", &kAll, false, nullptr};
constexpr Variant kExtracting = {"extracting", &kAll, true, nullptr};
constexpr const Variant* kList[] = {&kOld, &kMiddle, &kNew, &kExtracting};

std::string chosen(Set available, bool extractsBitsFast) {
    const Variant* variant = Variants::choose(kList, {available, extractsBitsFast});
    return variant ? variant->name : "none";
}

TEST(Variants, TheLastThatRunsIsChosen) {
    EXPECT_EQ(chosen(0b000, true), "old");
    EXPECT_EQ(chosen(0b101, true), "old");
    EXPECT_EQ(chosen(0b011, true), "middle");
    EXPECT_EQ(chosen(0b111, true), "extracting");
    EXPECT_EQ(chosen(~Set{0}, true), "extracting");
}

TEST(Variants, SlowBitExtractionIsNotChosen) {
    EXPECT_EQ(chosen(0b111, false), "new");
    EXPECT_EQ(chosen(0b011, false), "middle");
}

TEST(Variants, NoneIsChosenWhereNoneRuns) {
    constexpr const Variant* kNewOnes[] = {&kNew, &kExtracting};
    EXPECT_EQ(Variants::choose(kNewOnes, {0b011, true}), nullptr);
}

TEST(Variants, AreFoundByName) {
    EXPECT_EQ(Variants::find(kList, "middle"), &kMiddle);
    EXPECT_EQ(Variants::find(kList, "extracting"), &kExtracting);
    EXPECT_EQ(Variants::find(kList, "midd"), nullptr);
    EXPECT_EQ(Variants::find(kList, ""), nullptr);
}

TEST(Variants, RefusalNamesWhatIsMissing) {
    EXPECT_EQ(Variants::refusal(Variants::missing(kNew, 0b001)),
              "morvane: цей процесор не має потрібних інструкцій: " +
                  std::string(Instructions::kNames[1]) + " " + Instructions::kNames[2] +
                  " — візьміть збірку для старіших процесорів (portable)\n");
}

TEST(Variants, UnknownNamesAreAnsweredByThoseThatThereAre) {
    EXPECT_EQ(Variants::unknown(kList, "x"),
              "morvane: немає варіанта \"x\", є: old middle new extracting\n");
}

} // namespace
