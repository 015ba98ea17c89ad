#include "helpers.h"

#include "eval/evaluate.h"
#include "search/movepicker.h"
#include "search/see.h"

#include <atomic>
#include <cstdlib>
#include <new>

namespace {

std::atomic<std::uint64_t> gAllocations{0};

void* allocateOrNull(std::size_t size, std::align_val_t align) noexcept {
    const auto alignment = static_cast<std::size_t>(align);
    ++gAllocations;
    return std::aligned_alloc(alignment, (size / alignment + 1) * alignment);
}

void* allocate(std::size_t size, std::align_val_t alignment) {
    if (void* memory = allocateOrNull(size, alignment))
        return memory;
    throw std::bad_alloc();
}

// Not inline: a compiler that sees new and free side by side takes them for a mismatch.
[[gnu::noinline]] void release(void* memory) noexcept {
    std::free(memory);
}

using NoThrow = const std::nothrow_t&;

constexpr std::align_val_t kPlain{__STDCPP_DEFAULT_NEW_ALIGNMENT__};

} // namespace

// The whole test program allocates through these. Every form stands here: a sanitizer brings its
// own for those that are missing.

// clang-format off
void* operator new(std::size_t n) { return allocate(n, kPlain); }
void* operator new[](std::size_t n) { return allocate(n, kPlain); }
void* operator new(std::size_t n, std::align_val_t a) { return allocate(n, a); }
void* operator new[](std::size_t n, std::align_val_t a) { return allocate(n, a); }
void* operator new(std::size_t n, NoThrow) noexcept { return allocateOrNull(n, kPlain); }
void* operator new[](std::size_t n, NoThrow) noexcept { return allocateOrNull(n, kPlain); }
void* operator new(std::size_t n, std::align_val_t a, NoThrow) noexcept {
    return allocateOrNull(n, a);
}
void* operator new[](std::size_t n, std::align_val_t a, NoThrow) noexcept {
    return allocateOrNull(n, a);
}
void operator delete(void* memory) noexcept { release(memory); }
void operator delete[](void* memory) noexcept { release(memory); }
void operator delete(void* memory, std::size_t) noexcept { release(memory); }
void operator delete[](void* memory, std::size_t) noexcept { release(memory); }
void operator delete(void* memory, std::align_val_t) noexcept { release(memory); }
void operator delete[](void* memory, std::align_val_t) noexcept { release(memory); }
void operator delete(void* memory, std::size_t, std::align_val_t) noexcept { release(memory); }
void operator delete[](void* memory, std::size_t, std::align_val_t) noexcept { release(memory); }
void operator delete(void* memory, NoThrow) noexcept { release(memory); }
void operator delete[](void* memory, NoThrow) noexcept { release(memory); }
void operator delete(void* memory, std::align_val_t, NoThrow) noexcept { release(memory); }
void operator delete[](void* memory, std::align_val_t, NoThrow) noexcept { release(memory); }
// clang-format on

namespace {

/// Allocations made while `work` runs.
template <class Work>
std::uint64_t allocationsOf(Work work) {
    const std::uint64_t before = gAllocations;
    work();
    return gAllocations - before;
}

// What the work returns goes here, so that it cannot be left out.
volatile std::int64_t gResult = 0;

class Allocations : public SearchTest {
  protected:
    /// Runs `work` on several boards that exist already.
    template <class Work>
    void expectNone(Work work) {
        for (const std::string_view fen :
             {kStartFen, kTacticalFen, kMiddleGameFen, kRookEndgameFen, kPawnEndgameFen}) {
            *board = boardOf(fen);
            EXPECT_EQ(allocationsOf([&] { work(*board); }), 0U) << fen;
        }
    }

    std::unique_ptr<Board> board = std::make_unique<Board>();
};

TEST_F(Allocations, AreCounted) {
    // Calls of the functions themselves: pairs of new and delete may be left out by the compiler.
    constexpr std::align_val_t kLine{64};
    EXPECT_EQ(allocationsOf([] { ::operator delete(::operator new(1)); }), 1U);
    EXPECT_EQ(allocationsOf([] { ::operator delete[](::operator new[](100)); }), 1U);
    EXPECT_EQ(allocationsOf([&] { ::operator delete(::operator new(1, kLine), kLine); }), 1U);
    EXPECT_EQ(allocationsOf([] { ::operator delete(::operator new(1, std::nothrow)); }), 1U);
    EXPECT_GE(allocationsOf([] { PoolThread other(1); }), 1U) << "also those of the library";
    const std::string text(100, 'x');
    EXPECT_EQ(allocationsOf([&] { gResult = static_cast<int>(std::string(text).size()); }), 1U);
}

TEST_F(Allocations, DoNotHappenInTheSearch) {
    Search::RootStack stack;
    expectNone([&](Board& b) {
        int score = 0;
        for (int depth = 1; depth <= (kOptimised ? 8 : 5); ++depth)
            score = Search::aspirationSearch(*thread, b, depth, score, stack.records);
        gResult = score;
    });
    EXPECT_GT(nodes(), 1000U);
}

TEST_F(Allocations, DoNotHappenInTheEvaluation) {
    expectNone([](Board& b) { gResult = evaluate(b); });
}

TEST_F(Allocations, DoNotHappenInTheGenerators) {
    expectNone([](Board& b) {
        MoveList list;
        generateMoves(b, list);
        generateCaptures(b, list);
        generateQuiets(b, list);
        generateLegalMoves(b, list);
        gResult = list.count + static_cast<int>(firstLegalMove(b));
    });
}

TEST_F(Allocations, DoNotHappenInThePickerAndTheExchange) {
    expectNone([&](Board& b) {
        MovePicker picker(*thread, b, 0);
        std::int64_t sum = 0;
        while (const Move m = picker.next())
            sum += see(b, m) + seeGE(b, m, 100);
        const CheckInfo checks(b);
        picker.keepQuietChecksOnly(checks);
        gResult = sum;
    });
}

TEST_F(Allocations, DoNotHappenInTheTable) {
    EXPECT_EQ(allocationsOf([] {
                  TTData data{};
                  gTT.store(1, 2, 3, 4, TTExact, 5);
                  gTT.probe(1, data);
                  gTT.prefetch(1);
                  gTT.newGeneration();
                  gTT.clear();
                  gResult = data.score;
              }),
              0U);
}

TEST_F(Allocations, DoNotHappenInQuiescence) {
    expectNone([&](Board& b) { gResult = quiesce(b, -Search::kInfinite, Search::kInfinite); });
}

} // namespace
