// View rows in the order of a file, many at a time.
#pragma once

#include "image/image.h"

#include <cstdint>

// Fills the band with file rows first .. first + count - 1, each as long as a view row. File row k
// is view row rows - 1 - k as GetRow delivers it, where rows is the stored height, or the stored
// width in the transposed layout; bytes that GetRow leaves alone are left alone here.
void GatherFileRows(const CImage& image, std::uint32_t first, std::uint32_t count,
                    std::uint8_t* band);
