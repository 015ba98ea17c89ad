#include "platform/console.h"

#include <emscripten.h>

namespace Console {

// Lines come by calls: nothing can be waited for on the only thread.
std::optional<std::size_t> read(std::span<char>) {
    return 0;
}

bool isInterrupted() {
    return EM_ASM_INT({ return Module["isInterrupted"](); }) != 0;
}

} // namespace Console
