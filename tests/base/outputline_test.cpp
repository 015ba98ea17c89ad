#include "base/outputline.h"

#include <gtest/gtest.h>

#include <cstdint>
#include <limits>
#include <string>

namespace {

TEST(OutputLine, PutsTextAndNumbersTogether) {
    OutputLine line;
    line.add("a ").add(-5).add(" ").add(std::uint64_t{18446744073709551615ULL}).add(" ");
    line.add(std::numeric_limits<std::int64_t>::min());
    EXPECT_EQ(line.text(), "a -5 18446744073709551615 -9223372036854775808");
}

TEST(OutputLine, DropsWhatIsBeyondItsCapacityButKeepsRoomForTheLineFeed) {
    OutputLine line;
    line.add(std::string(3 * OutputLine::kCapacity, 'x'));
    EXPECT_EQ(line.text().size(), OutputLine::kCapacity - 1);
    line.add("y").add(1);
    EXPECT_EQ(line.text(), std::string(OutputLine::kCapacity - 1, 'x'));
}

} // namespace
