#ifdef MORVANE_KNOWS_PROCESSOR

#include "platform/cpu.h"

#include <gtest/gtest.h>

#include <fstream>
#include <iterator>
#include <map>
#include <set>
#include <sstream>
#include <string>

namespace {

using namespace Instructions;

std::set<std::string> namesOf(Set set) {
    std::set<std::string> names;
    for (unsigned row = 0; row < kCount; ++row)
        if (set >> row & 1)
            names.insert(kNames[row]);
    return names;
}

/// A report in which every bit is set.
Report fullReport() {
    Report report;
    for (std::uint64_t& word : report.words)
        word = ~std::uint64_t{0};
    return report;
}

TEST(Instructions, RowsHaveDifferentNames) {
    EXPECT_EQ(namesOf(~Set{0}).size(), kCount);
    for (const std::string& each : namesOf(~Set{0}))
        EXPECT_EQ(each.find_first_not_of("abcdefghijklmnopqrstuvwxyz0123456789."), each.npos);
}

TEST(Instructions, NothingIsAvailableWhereNothingIsReported) {
    EXPECT_EQ(available(Report{}), 0U);
}

TEST(Instructions, EverythingIsAvailableWhereEverythingIsReported) {
    EXPECT_EQ(namesOf(available(fullReport())), namesOf(~Set{0}));
}

TEST(Instructions, ThisProcessorHasWhatThisBuildNeeds) {
    EXPECT_EQ(namesOf(kNeeded & ~available(readReport())), std::set<std::string>{});
}

/// Each row depends on one bit, and no two rows on the same.
TEST(Instructions, RowsHaveDifferentBits) {
    std::set<std::string> lost;
    for (unsigned word = 0; word < WordCount; ++word) {
        if (word == SavedState)
            continue;
        for (unsigned bit = 0; bit < 64; ++bit) {
            Report report = fullReport();
            report.words[word] &= ~(std::uint64_t{1} << bit);
            const auto missing = namesOf(~available(report));
            EXPECT_LE(missing.size(), 1U) << word << ' ' << bit;
            lost.insert(missing.begin(), missing.end());
        }
    }
    EXPECT_EQ(lost, namesOf(~Set{0}));
}

#if defined(__x86_64__)

/// What cpuid reports on a processor of the year 2010.
Report westmere() {
    Report report;
    report.words[Leaf1Ecx] = 0x029ee3ff;
    report.words[ExtendedEcx] = 0x00000001;
    return report;
}

/// And on one of 2013, under a system that saves the registers of AVX.
Report haswell() {
    Report report;
    report.words[Leaf1Ecx] = 0x7ffafbff;
    report.words[Leaf7Ebx] = 0x000027ab;
    report.words[ExtendedEcx] = 0x00000021;
    report.words[SavedState] = 0x7;
    return report;
}

const std::set<std::string> kOfWestmere = {"sse3", "ssse3", "sse4.1", "sse4.2",
                                           "cx16", "sahf",  "popcnt", "pclmul"};

TEST(Instructions, OfOldProcessors) {
    EXPECT_EQ(namesOf(available(westmere())), kOfWestmere);
    std::set<std::string> ofHaswell = kOfWestmere;
    ofHaswell.insert({"avx", "avx2", "bmi", "bmi2", "f16c", "fma", "lzcnt", "movbe"});
    EXPECT_EQ(namesOf(available(haswell())), ofHaswell);
}

/// What leaf 0 and leaf 1 tell of a maker and of family and model.
Report processorOf(std::uint64_t maker, std::uint64_t version) {
    Report report;
    report.words[Leaf0Ebx] = maker;
    report.words[Leaf1Eax] = version;
    return report;
}

TEST(Instructions, BitExtractionIsSlowBeforeZen3) {
    constexpr std::uint64_t kIntel = 0x756e6547;
    constexpr std::uint64_t kAmd = 0x68747541;
    constexpr std::uint64_t kHygon = 0x6f677948;
    EXPECT_TRUE(extractsBitsFast(processorOf(kIntel, 0x000306c3)));  // Haswell
    EXPECT_TRUE(extractsBitsFast(processorOf(kIntel, 0x000806f8)));  // Sapphire Rapids
    EXPECT_FALSE(extractsBitsFast(processorOf(kAmd, 0x00660f01)));   // Excavator
    EXPECT_FALSE(extractsBitsFast(processorOf(kAmd, 0x00800f11)));   // Zen 1
    EXPECT_FALSE(extractsBitsFast(processorOf(kAmd, 0x00870f10)));   // Zen 2
    EXPECT_FALSE(extractsBitsFast(processorOf(kHygon, 0x00900f22))); // Dhyana
    EXPECT_TRUE(extractsBitsFast(processorOf(kAmd, 0x00a20f10)));    // Zen 3
    EXPECT_TRUE(extractsBitsFast(processorOf(kAmd, 0x00b40f40)));    // Zen 5
}

TEST(Instructions, WideRegistersNeedASystemThatSavesThem) {
    Report report = haswell();
    report.words[SavedState] = 0x3; // SSE alone
    std::set<std::string> narrow = kOfWestmere;
    narrow.insert({"bmi", "bmi2", "lzcnt", "movbe"});
    EXPECT_EQ(namesOf(available(report)), narrow);

    report = fullReport();
    report.words[SavedState] = 0x7; // SSE and AVX
    for (const std::string& missing : namesOf(~available(report)))
        EXPECT_TRUE(missing.starts_with("avx512") || missing == "apxf") << missing;
    EXPECT_FALSE(namesOf(available(report)).contains("avx512f"));
    EXPECT_TRUE(namesOf(available(report)).contains("avx2"));
}

/// The system's own list of the processor's features, empty where there is none.
std::set<std::string> systemFlags() {
    std::ifstream file("/proc/cpuinfo");
    for (std::string line; std::getline(file, line);)
        if (line.starts_with("flags")) {
            std::istringstream words(line.substr(line.find(':') + 1));
            return {std::istream_iterator<std::string>(words), {}};
        }
    return {};
}

TEST(Instructions, AreThoseThatTheSystemLists) {
    const std::map<std::string, std::string> otherNames = {
        {"sse3", "pni"},
        {"sse4.1", "sse4_1"},
        {"sse4.2", "sse4_2"},
        {"pclmul", "pclmulqdq"},
        {"sahf", "lahf_lm"},
        {"lzcnt", "abm"},
        {"bmi", "bmi1"},
        {"avxvnni", "avx_vnni"},
        {"avxifma", "avx_ifma"},
        {"avxvnniint8", "avx_vnni_int8"},
        {"avxvnniint16", "avx_vnni_int16"},
        {"avxneconvert", "avx_ne_convert"},
        {"avx512vbmi2", "avx512_vbmi2"},
        {"avx512vnni", "avx512_vnni"},
        {"avx512bitalg", "avx512_bitalg"},
        {"avx512vpopcntdq", "avx512_vpopcntdq"},
        {"avx512bf16", "avx512_bf16"},
        {"avx512fp16", "avx512_fp16"},
    };
    // Linux does not list these, or does so in newer versions only.
    const std::set<std::string> unlisted = {"avxvnniint8", "avxvnniint16", "avxneconvert", "apxf"};
    const std::set<std::string> flags = systemFlags();
    if (flags.empty())
        GTEST_SKIP() << "no /proc/cpuinfo";
    const std::set<std::string> found = namesOf(available(readReport()));
    for (unsigned row = 0; row < kCount; ++row) {
        const std::string ours = kNames[row];
        const auto other = otherNames.find(ours);
        if (unlisted.contains(ours))
            continue;
        EXPECT_EQ(found.contains(ours),
                  flags.contains(other == otherNames.end() ? ours : other->second))
            << ours;
    }
}

TEST(Instructions, NeededAreThoseOfTheCompiler) {
    const auto needed = namesOf(kNeeded);
#ifdef __AVX2__
    EXPECT_TRUE(needed.contains("avx2"));
#else
    EXPECT_FALSE(needed.contains("avx2"));
#endif
#ifdef __BMI2__
    EXPECT_TRUE(needed.contains("bmi2"));
#else
    EXPECT_FALSE(needed.contains("bmi2"));
#endif
#ifdef __AVX512F__
    EXPECT_TRUE(needed.contains("avx512f"));
#else
    EXPECT_FALSE(needed.contains("avx512f"));
#endif
}

#endif

} // namespace

#endif
