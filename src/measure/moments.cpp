// Sums, and what follows from them.
#include "measure/moments.h"

#include "image/vector_clones.h"

#include <algorithm>
#include <cmath>

namespace {

void AddSamples(const std::uint8_t* samples, std::uint32_t count, Moments& moments);
void AddSamples(const std::uint16_t* samples, std::uint32_t count, Moments& moments);

} // namespace

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
    const GrayView ordered = InMemoryOrder(view);
    Moments moments;
    moments.count = ordered.Count();
    WithSampleType(ordered, [&](auto sample) {
        for (std::uint32_t y = 0; y < ordered.height; ++y) {
            AddSamples(ordered.Row<decltype(sample)>(y), ordered.width, moments);
        }
    });
    return moments;
}

namespace {

// Squares are summed up in halves, so that all sums are of 32 bits, which vectors add fast.
template <typename Sample>
TARNTEST_IN_CLONES void AddSamplesOf(const Sample* samples, std::uint32_t count, Moments& moments)
{
    constexpr std::uint32_t MostSamples = 65536; // of 16 bits, whose sums these are room for
    for (std::uint32_t first = 0; first < count; first += MostSamples) {
        const std::uint32_t end = std::min(count - first, MostSamples) + first;
        std::uint32_t sum = 0, lowHalves = 0, highHalves = 0;
        for (std::uint32_t x = first; x < end; ++x) {
            const std::uint32_t value = samples[x], square = value * value;
            sum += value;
            lowHalves += square & 0xFFFF;
            highHalves += square >> 16;
        }
        moments.sum += std::int64_t{sum};
        moments.squares += (std::uint64_t{highHalves} << 16) + lowHalves;
    }
}

TARNTEST_VECTOR_CLONES
void AddSamples(const std::uint8_t* samples, std::uint32_t count, Moments& moments)
{
    AddSamplesOf(samples, count, moments);
}

TARNTEST_VECTOR_CLONES
void AddSamples(const std::uint16_t* samples, std::uint32_t count, Moments& moments)
{
    AddSamplesOf(samples, count, moments);
}

} // namespace
