#include "platform/thread.h"

#include <algorithm>

#include <emscripten/threading.h>

std::size_t usableCores() {
    return static_cast<std::size_t>(std::max(emscripten_num_logical_cores(), 1));
}

void nameThisThread(const char*) {} // nobody sees the name
