#pragma once

/// What kind of build the tests run in. Builds with assertions, sanitizers among them, are many
/// times slower: tests do less there.

#ifdef NDEBUG
inline constexpr bool kOptimised = true;
#else
inline constexpr bool kOptimised = false;
#endif

/// The size of a sample: in full in an optimised build, a part of it elsewhere.
constexpr int scaled(int count, int divisor = 10) {
    return kOptimised ? count : count / divisor;
}

/// Whether a sanitizer runs along that takes address space of its own.
#if defined(__SANITIZE_ADDRESS__) || defined(__SANITIZE_THREAD__)
inline constexpr bool kInstrumented = true;
#elif defined(__has_feature)
inline constexpr bool kInstrumented =
    __has_feature(address_sanitizer) || __has_feature(thread_sanitizer);
#else
inline constexpr bool kInstrumented = false;
#endif
