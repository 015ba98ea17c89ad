// Where the processor lacks instructions that the program is built for, this ends it with a message
// before any other part of it runs. See cpu.h for how this file is compiled.

#include "platform/cpu.h"

#include <cstdlib>
#include <cstring>

#include <sys/uio.h>
#include <unistd.h>

namespace {

using Instructions::Set;

iovec piece(const char* text) {
    return {const_cast<char*>(text), std::strlen(text)};
}

/// The whole line in one write.
[[noreturn]] void refuse(Set missing) {
    iovec pieces[2 * Instructions::kCount + 2];
    int count = 0;
    pieces[count++] = piece(Instructions::kRefusal.lacks);
    for (unsigned row = 0; row < Instructions::kCount; ++row)
        if (missing >> row & 1) {
            pieces[count++] = piece(" ");
            pieces[count++] = piece(Instructions::kNames[row]);
        }
    pieces[count++] = piece(Instructions::kRefusal.advice);
    [[maybe_unused]] const ssize_t written = writev(STDERR_FILENO, pieces, count);
    _exit(EXIT_FAILURE);
}

void checkProcessor() {
    if (Instructions::kNeeded == 0)
        return;
    const Set missing = Instructions::kNeeded & ~available(Instructions::readReport());
    if (missing != 0)
        refuse(missing);
}

// What stands in this section runs first: before the constructors of the program and of its
// libraries.
[[gnu::section(".preinit_array"), gnu::used]] void (*gCheckProcessor)() = checkProcessor;

} // namespace
