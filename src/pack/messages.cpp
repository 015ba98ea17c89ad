#include "pack/messages.h"

namespace Pack::Messages {

namespace {

constexpr std::size_t kShown = 80; // characters of a line

std::string_view reason(Fault fault) {
    switch (fault) {
    case Fault::NoLine:
        return "is not a line of morvane datagen";
    case Fault::NoPosition:
        return "has no position that can be played";
    case Fault::NoFit:
        return "has a number that does not fit into a row";
    case Fault::OtherValue:
        return "has a row that gives another value than the evaluation, by these weights";
    case Fault::OtherCounts:
        return "has a row that counts weights in another way than the evaluation";
    case Fault::None:
    case Fault::NoMemory:
        break;
    }
    return "cannot be packed";
}

} // namespace

std::string badLine(std::uint64_t number, Fault fault, std::string_view line) {
    std::string shown(line.substr(0, kShown));
    for (char& c : shown)
        if (c < ' ' || c > '~')
            c = '?';
    return "line " + std::to_string(number) + " " + std::string(reason(fault)) + ": " + shown;
}

} // namespace Pack::Messages
