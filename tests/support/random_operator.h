// A library and an operator that act at random upon the real main window, and the law that no image
// is lost. Who makes the choices - a fuzzer or a seed - is no matter of this.
#pragma once

#include <cstdint>
#include <span>
#include <string>
#include <vector>

struct Story
{
    std::vector<std::string> faults; // in order; each a sentence that begins with its kind
    std::vector<std::string> lines;  // every call of the library and every act, in order
};

// Runs the program as often as it takes to use up the choices, with one library and one folder of
// saved images. After the last choice the library is well and the operator goes home.
Story ActAtRandom(std::span<const std::uint8_t> choices);
