// Uses what the compiler may use before main.

#include <cstdint>
#include <iostream>

namespace {

volatile std::uint64_t gValue = 5;
volatile std::uint64_t gCount = 3;

struct Early {
    Early() { std::cout << "constructed " << ((gValue << gCount) ^ (gValue >> gCount)) << '\n'; }
};

const Early gEarly;

} // namespace

int main() {
    std::cout << "runs\n";
}
