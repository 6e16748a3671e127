// Sums the differences of two pictures.
#include "measure/difference.h"

#include "measure/moments.h"

#include <algorithm>
#include <cmath>

namespace {

struct Sums
{
    std::uint64_t unequal = 0, squares = 0;
    std::int64_t sum = 0, minimum = INT64_MAX, maximum = INT64_MIN;
};

template <typename First, typename Second>
void AddRow(const First* first, const Second* second, std::uint32_t width, Sums& sums)
{
    std::int64_t sum = 0;
    std::uint64_t squares = 0;
    std::uint32_t unequal = 0;
    std::int32_t minimum = INT32_MAX, maximum = INT32_MIN;
    for (std::uint32_t x = 0; x < width; ++x) {
        const std::int32_t d = std::int32_t{second[x]} - first[x];
        sum += d;
        squares += static_cast<std::uint64_t>(std::int64_t{d} * d);
        unequal += d != 0 ? 1 : 0;
        minimum = std::min(minimum, d);
        maximum = std::max(maximum, d);
    }
    sums.sum += sum;
    sums.squares += squares;
    sums.unequal += unequal;
    sums.minimum = std::min<std::int64_t>(sums.minimum, minimum);
    sums.maximum = std::max<std::int64_t>(sums.maximum, maximum);
}

} // namespace

std::optional<Difference> DifferenceOf(const GrayView& first, const GrayView& second)
{
    if (first.width != second.width || first.height != second.height || first.IsEmpty()) {
        return std::nullopt;
    }
    Sums sums;
    WithSampleType(first, [&](auto a) {
        WithSampleType(second, [&](auto b) {
            for (std::uint32_t y = 0; y < first.height; ++y) {
                AddRow(first.Row<decltype(a)>(y), second.Row<decltype(b)>(y), first.width, sums);
            }
        });
    });

    Difference difference;
    difference.count = first.Count();
    difference.unequal = sums.unequal;
    difference.minimum = sums.minimum;
    difference.maximum = sums.maximum;
    const Moments moments = {difference.count, sums.sum, sums.squares};
    difference.mean = moments.Mean();
    difference.standardDeviation = moments.StandardDeviation();
    difference.noise = difference.standardDeviation / std::sqrt(2.0);
    return difference;
}
