// Sums, and what follows from them.
#include "measure/moments.h"

#include <algorithm>
#include <cmath>

double Moments::Mean() const
{
    return count == 0 ? 0 : static_cast<double>(sum) / static_cast<double>(count);
}

// With sum = q count + r, sum^2 / count = q^2 count + 2 q r + r^2 / count, of which the whole
// part is subtracted from the squares before anything is rounded.
double Moments::StandardDeviation() const
{
    if (count < 2) {
        return 0;
    }
    const auto n = static_cast<std::int64_t>(count);
    const std::int64_t q = sum / n, r = sum % n;
    const std::int64_t whole = static_cast<std::int64_t>(squares) - (q * q * n + 2 * q * r);
    const auto rest = static_cast<double>(r);
    const double deviation = static_cast<double>(whole) - rest * rest / static_cast<double>(count);
    return std::sqrt(std::max(0.0, deviation) / static_cast<double>(count - 1));
}

Moments MomentsOf(const GrayView& view)
{
    Moments moments;
    moments.count = view.Count();
    WithSampleType(view, [&](auto sample) {
        for (std::uint32_t y = 0; y < view.height; ++y) {
            const auto* const row = view.Row<decltype(sample)>(y);
            std::uint64_t sum = 0, squares = 0;
            for (std::uint32_t x = 0; x < view.width; ++x) {
                const std::uint32_t value = row[x];
                sum += value;
                squares += std::uint64_t{value * value};
            }
            moments.sum += static_cast<std::int64_t>(sum);
            moments.squares += squares;
        }
    });
    return moments;
}
