#pragma once

#include <cstddef>

/// What one thread writes often and another reads must not lie closer together than this: two cache
/// lines of 64 bytes, because processors fetch them in pairs.
inline constexpr std::size_t kLineDistance = 128;

/// A value with nothing else on its cache lines.
template <class T>
struct alignas(kLineDistance) CacheAligned : T {
    using T::T;
    using T::operator=;
};
