#include "base/output.h"
#include "uci/modes.h"
#include "uci/startup.h"

#include <iostream>
#include <string_view>
#include <vector>

int main(int argc, char** argv) {
    std::ios::sync_with_stdio(false);
    Output::init();
    initEngine();
    const std::vector<std::string_view> arguments(argv + (argc > 0 ? 1 : 0), argv + argc);
    return runMode(arguments);
}
