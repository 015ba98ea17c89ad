#pragma once

#include <cstdint>

/// Instruction sets beyond the baseline of the architecture: which of them this build uses, and
/// which the processor has.
///
/// What is declared here works on every processor of the architecture, whatever the rest of the
/// program is built for: its sources are compiled for the baseline (`morvane_for_any_processor` in
/// cmake/compile.cmake). They call no inline function of another header, since the linker keeps one
/// copy of such a function for the whole program, which may be one that was compiled for more.

// The sets that compilers use by themselves wherever the build allows them. Those that need a call
// by name (aes, sha, amx, ...) are left out: the program makes none, so it does not need them.
//
// Each row: name as in the compiler's options; the macro by which the compiler tells that it uses
// the set; the word and the bit in which the processor tells that it has it; on x86-64, which
// registers the system must save.
#if defined(__x86_64__)

#define MORVANE_INSTRUCTIONS(ROW)                                                                  \
    ROW("sse3", __SSE3__, Leaf1Ecx, 0, kNoState)                                                   \
    ROW("ssse3", __SSSE3__, Leaf1Ecx, 9, kNoState)                                                 \
    ROW("sse4.1", __SSE4_1__, Leaf1Ecx, 19, kNoState)                                              \
    ROW("sse4.2", __SSE4_2__, Leaf1Ecx, 20, kNoState)                                              \
    ROW("pclmul", __PCLMUL__, Leaf1Ecx, 1, kNoState)                                               \
    ROW("cx16", __GCC_HAVE_SYNC_COMPARE_AND_SWAP_16, Leaf1Ecx, 13, kNoState)                       \
    ROW("sahf", __LAHF_SAHF__, ExtendedEcx, 0, kNoState)                                           \
    ROW("popcnt", __POPCNT__, Leaf1Ecx, 23, kNoState)                                              \
    ROW("lzcnt", __LZCNT__, ExtendedEcx, 5, kNoState)                                              \
    ROW("bmi", __BMI__, Leaf7Ebx, 3, kNoState)                                                     \
    ROW("bmi2", __BMI2__, Leaf7Ebx, 8, kNoState)                                                   \
    ROW("tbm", __TBM__, ExtendedEcx, 21, kNoState)                                                 \
    ROW("movbe", __MOVBE__, Leaf1Ecx, 22, kNoState)                                                \
    ROW("gfni", __GFNI__, Leaf7Ecx, 8, kNoState)                                                   \
    ROW("avx", __AVX__, Leaf1Ecx, 28, kAvxState)                                                   \
    ROW("f16c", __F16C__, Leaf1Ecx, 29, kAvxState)                                                 \
    ROW("fma", __FMA__, Leaf1Ecx, 12, kAvxState)                                                   \
    ROW("fma4", __FMA4__, ExtendedEcx, 16, kAvxState)                                              \
    ROW("xop", __XOP__, ExtendedEcx, 11, kAvxState)                                                \
    ROW("avx2", __AVX2__, Leaf7Ebx, 5, kAvxState)                                                  \
    ROW("avxvnni", __AVXVNNI__, Leaf7Sub1Eax, 4, kAvxState)                                        \
    ROW("avxifma", __AVXIFMA__, Leaf7Sub1Eax, 23, kAvxState)                                       \
    ROW("avxvnniint8", __AVXVNNIINT8__, Leaf7Sub1Edx, 4, kAvxState)                                \
    ROW("avxvnniint16", __AVXVNNIINT16__, Leaf7Sub1Edx, 10, kAvxState)                             \
    ROW("avxneconvert", __AVXNECONVERT__, Leaf7Sub1Edx, 5, kAvxState)                              \
    ROW("avx512f", __AVX512F__, Leaf7Ebx, 16, kAvx512State)                                        \
    ROW("avx512bw", __AVX512BW__, Leaf7Ebx, 30, kAvx512State)                                      \
    ROW("avx512cd", __AVX512CD__, Leaf7Ebx, 28, kAvx512State)                                      \
    ROW("avx512dq", __AVX512DQ__, Leaf7Ebx, 17, kAvx512State)                                      \
    ROW("avx512vl", __AVX512VL__, Leaf7Ebx, 31, kAvx512State)                                      \
    ROW("avx512er", __AVX512ER__, Leaf7Ebx, 27, kAvx512State)                                      \
    ROW("avx512ifma", __AVX512IFMA__, Leaf7Ebx, 21, kAvx512State)                                  \
    ROW("avx512vbmi", __AVX512VBMI__, Leaf7Ecx, 1, kAvx512State)                                   \
    ROW("avx512vbmi2", __AVX512VBMI2__, Leaf7Ecx, 6, kAvx512State)                                 \
    ROW("avx512vnni", __AVX512VNNI__, Leaf7Ecx, 11, kAvx512State)                                  \
    ROW("avx512bitalg", __AVX512BITALG__, Leaf7Ecx, 12, kAvx512State)                              \
    ROW("avx512vpopcntdq", __AVX512VPOPCNTDQ__, Leaf7Ecx, 14, kAvx512State)                        \
    ROW("avx512bf16", __AVX512BF16__, Leaf7Sub1Eax, 5, kAvx512State)                               \
    ROW("avx512fp16", __AVX512FP16__, Leaf7Edx, 23, kAvx512State)                                  \
    ROW("apxf", __APX_F__, Leaf7Sub1Edx, 21, kApxState)

#elif defined(__aarch64__)

#define MORVANE_INSTRUCTIONS(ROW)                                                                  \
    ROW("crc", __ARM_FEATURE_CRC32, Capabilities, 7, kNoState)                                     \
    ROW("lse", __ARM_FEATURE_ATOMICS, Capabilities, 8, kNoState)                                   \
    ROW("fp16", __ARM_FEATURE_FP16_SCALAR_ARITHMETIC, Capabilities, 9, kNoState)                   \
    ROW("rdma", __ARM_FEATURE_QRDMX, Capabilities, 12, kNoState)                                   \
    ROW("jscvt", __ARM_FEATURE_JCVT, Capabilities, 13, kNoState)                                   \
    ROW("fcma", __ARM_FEATURE_COMPLEX, Capabilities, 14, kNoState)                                 \
    ROW("rcpc", __ARM_FEATURE_RCPC, Capabilities, 15, kNoState)                                    \
    ROW("sha3", __ARM_FEATURE_SHA3, Capabilities, 17, kNoState)                                    \
    ROW("dotprod", __ARM_FEATURE_DOTPROD, Capabilities, 20, kNoState)                              \
    ROW("sve", __ARM_FEATURE_SVE, Capabilities, 22, kNoState)                                      \
    ROW("fp16fml", __ARM_FEATURE_FP16_FML, Capabilities, 23, kNoState)                             \
    ROW("sve2", __ARM_FEATURE_SVE2, Capabilities2, 1, kNoState)                                    \
    ROW("frintts", __ARM_FEATURE_FRINT, Capabilities2, 8, kNoState)                                \
    ROW("i8mm", __ARM_FEATURE_MATMUL_INT8, Capabilities2, 13, kNoState)                            \
    ROW("bf16", __ARM_FEATURE_BF16_VECTOR_ARITHMETIC, Capabilities2, 14, kNoState)                 \
    ROW("cssc", __ARM_FEATURE_CSSC, Capabilities2, 34, kNoState)                                   \
    ROW("mops", __ARM_FEATURE_MOPS, Capabilities2, 43, kNoState)

#endif

namespace Instructions {

/// One bit for each row of the table above, in its order.
using Set = std::uint64_t;

#define MORVANE_NAME(name, macro, word, bit, state) name,
inline constexpr const char* kNames[] = {MORVANE_INSTRUCTIONS(MORVANE_NAME)};
#undef MORVANE_NAME

inline constexpr unsigned kCount = sizeof kNames / sizeof *kNames;
static_assert(kCount <= 64);

/// The words in which processor and system tell what there is.
enum Word {
#if defined(__x86_64__)
    Leaf1Ecx, // registers of the instruction cpuid
    Leaf7Ebx,
    Leaf7Ecx,
    Leaf7Edx,
    Leaf7Sub1Eax,
    Leaf7Sub1Edx,
    ExtendedEcx,
    Leaf0Ebx, // the first letters of the maker's name
    Leaf1Eax, // family and model
#else
    Capabilities, // the system's answer, it knows the processor
    Capabilities2,
#endif
    SavedState, // the registers that the system saves for each process, where rows need some
    WordCount
};

struct Report {
    std::uint64_t words[WordCount] = {};
};

/// What this build uses. A constant of the build, compiled like the rest of the program.
extern const Set kNeeded;

/// Asks the processor and the system.
Report readReport();

#if defined(__x86_64__)
/// Whether the processor that reports extracts bits (BMI2's pext) in a few cycles. Those of AMD
/// before Zen 3 have the instruction and take hundreds.
bool extractsBitsFast(const Report& report);
#endif

/// What of the table can be used where this is reported.
Set available(const Report& report);

/// What a program says, around the names of what is missing, where its processor lacks something.
struct Refusal {
    const char* lacks;
    const char* advice;
};

/// Defined by a program that has the check of cpu_check_linux.cpp: with it the program ends, by
/// this message and status 1, before any other part of it runs.
extern const Refusal kRefusal;

} // namespace Instructions
