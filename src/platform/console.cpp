#include "platform/console.h"

#include <iostream>

namespace Console {

std::istream& input() {
    return std::cin;
}

void separateInputFromStdio() {
    std::ios::sync_with_stdio(false);
}

} // namespace Console
