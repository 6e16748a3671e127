// Sequences that nest: images, series, results, clicks, typing and an end by signal come while up
// to four boxes are open one over the other, generated from seeds. No image may be lost.
#include "support/random_operator.h"

#include <cstdio>
#include <gtest/gtest.h>
#include <random>

namespace {

TEST(Nesting, NoSequenceLosesAnImage)
{
    constexpr std::uint32_t Sequences = 3000;
    for (std::uint32_t seed = 1; seed <= Sequences; ++seed) {
        std::mt19937 random(seed);
        std::vector<std::uint8_t> choices(40 + random() % 400);
        for (std::uint8_t& choice : choices) {
            choice = static_cast<std::uint8_t>(random());
        }
        const Story story = ActAtRandom(choices);
        if (story.faults.empty()) {
            continue;
        }
        for (const std::string& line : story.lines) {
            std::printf("%s\n", line.c_str());
        }
        FAIL() << "seed " << seed << ": " << testing::PrintToString(story.faults);
    }
}

} // namespace
