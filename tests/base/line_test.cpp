#include "base/line.h"

#include <gtest/gtest.h>

#include <cstdint>
#include <limits>
#include <string>

namespace {

TEST(Line, PutsTextAndNumbersTogether) {
    Line line;
    line.add("a ").add(-5).add(" ").add(std::uint64_t{18446744073709551615ULL}).add(" ");
    line.add(std::numeric_limits<std::int64_t>::min());
    EXPECT_EQ(line.text(), "a -5 18446744073709551615 -9223372036854775808");
}

TEST(Line, DropsWhatIsBeyondItsCapacityButKeepsRoomForTheLineFeed) {
    Line line;
    line.add(std::string(3 * Line::kCapacity, 'x'));
    EXPECT_EQ(line.text().size(), Line::kCapacity - 1);
    line.add("y").add(1);
    EXPECT_EQ(line.text(), std::string(Line::kCapacity - 1, 'x'));
}

} // namespace
