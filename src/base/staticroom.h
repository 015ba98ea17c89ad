#pragma once

#include <cstddef>
#include <new>

/// Room for one global object whose life begins by call, not before `main`. A global with a
/// destructor needs code that runs at the start of the program, compiled as all of its source is; a
/// program that holds the engine once for each kind of processor must run none of it before it
/// knows which processor it has.
template <class T>
struct StaticRoom {
    alignas(T) std::byte bytes[sizeof(T)];

    /// Makes the object. Called once.
    void begin() { ::new (bytes) T; }

    /// Destroys it.
    void end() { std::launder(reinterpret_cast<T*>(bytes))->~T(); }
};
