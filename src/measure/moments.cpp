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

// Squares are summed up in halves, so that all sums are of 32 bits, which vectors add fast.
Moments MomentsOf(const GrayView& picture)
{
    const GrayView view = InMemoryOrder(picture);
    constexpr std::uint32_t MostSamples = 65536; // of 16 bits, whose sums these are room for
    Moments moments;
    moments.count = view.Count();
    WithSampleType(view, [&](auto sample) {
        for (std::uint32_t y = 0; y < view.height; ++y) {
            const auto* const row = view.Row<decltype(sample)>(y);
            for (std::uint32_t first = 0; first < view.width; first += MostSamples) {
                const std::uint32_t end = std::min(view.width - first, MostSamples) + first;
                std::uint32_t sum = 0, lowHalves = 0, highHalves = 0;
                for (std::uint32_t x = first; x < end; ++x) {
                    const std::uint32_t value = row[x], square = value * value;
                    sum += value;
                    lowHalves += square & 0xFFFF;
                    highHalves += square >> 16;
                }
                moments.sum += std::int64_t{sum};
                moments.squares += (std::uint64_t{highHalves} << 16) + lowHalves;
            }
        }
    });
    return moments;
}
