#include "platform/memory.h"

#include <emscripten/heap.h>

namespace SysMem {

// The most that the memory of a module may grow to. Whether the browser gives it, it tells then.
std::uint64_t physicalBytes() {
    return emscripten_get_heap_max();
}

} // namespace SysMem
