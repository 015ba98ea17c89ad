#include "pack/weights.h"

#include <gtest/gtest.h>

#include <string>

namespace {

using Weights = std::array<int, Tune::NPARAMS>;

/// As `morvane tuneparams` prints it.
std::string listing() {
    Weights values{};
    Tune::initValues(values.data());
    std::string text = "# Morvane tune params: index name value  (NPARAMS=1082)\n";
    for (int k = 0; k < Tune::NPARAMS; ++k)
        text += std::to_string(k) + " " + Tune::paramName(k) + " " +
                std::to_string(values[static_cast<std::size_t>(k)]) + "\n";
    return text;
}

std::string replaced(std::string text, const std::string& what, const std::string& with) {
    const std::size_t place = text.find(what);
    EXPECT_NE(place, std::string::npos) << what;
    return text.replace(place, what.size(), with);
}

TEST(PackWeights, AreReadAsTheyArePrinted) {
    Weights values{};
    Weights expected{};
    Tune::initValues(expected.data());
    ASSERT_TRUE(Pack::parseListing(listing(), values));
    EXPECT_EQ(values, expected);
    ASSERT_TRUE(Pack::parseListing(replaced(listing(), "matMg_P 93\n", "matMg_P -94\n"), values));
    EXPECT_EQ(values[0], -94);
}

TEST(PackWeights, OfAnythingElseAreRefused) {
    const std::string good = listing();
    Weights values{};
    for (const std::string& text :
         {std::string(), std::string("x"), good + "\n", good + "x", good.substr(0, good.size() - 1),
          good.substr(0, good.size() - 3), replaced(good, "1082", "1083"),
          replaced(good, "\n7 ", "\n8 "), replaced(good, "matMg_P", "matMg_X"),
          replaced(good, "matMg_P 93", "matMg_P 9.3"),
          replaced(good, "matMg_P 93", "matMg_P 30001"), replaced(good, "matMg_P 93", "matMg_P"),
          replaced(good, "matMg_P 93", "matMg_P -30001")})
        EXPECT_FALSE(Pack::parseListing(text, values)) << text.substr(0, 70);
}

} // namespace
