// Counts samples and derives statistics from the counts.
#include "measure/histogram.h"

#include "measure/moments.h"

#include <algorithm>
#include <array>
#include <limits>
#include <numeric>

namespace {

template <typename Sample>
void CountRows(const GrayView& view, std::uint32_t* counts);
std::uint32_t ValueAtRank(const Histogram& histogram, std::uint64_t rank);

} // namespace

Histogram CountSamples(const GrayView& picture)
{
    const GrayView view = InMemoryOrder(picture);
    return WithSampleType(view, [&view](auto sample) {
        using Sample = decltype(sample);
        Histogram histogram{
            std::vector<std::uint32_t>(std::size_t{std::numeric_limits<Sample>::max()} + 1)};
        CountRows<Sample>(view, histogram.counts.data());
        return histogram;
    });
}

Statistics StatisticsOf(const Histogram& histogram)
{
    Statistics statistics;
    Moments moments;
    for (std::uint32_t v = 0; v < histogram.counts.size(); ++v) {
        const std::uint64_t count = histogram.counts[v];
        if (count == 0) {
            continue;
        }
        statistics.minimum = moments.count == 0 ? v : statistics.minimum;
        statistics.maximum = v;
        moments.count += count;
        moments.sum += static_cast<std::int64_t>(count * v);
        moments.squares += count * v * v;
    }
    if (moments.count == 0) {
        return statistics;
    }
    statistics.count = moments.count;
    statistics.mean = moments.Mean();
    statistics.standardDeviation = moments.StandardDeviation();
    if (statistics.standardDeviation > 0) {
        statistics.signalToNoise = statistics.mean / statistics.standardDeviation;
    }
    statistics.median = (ValueAtRank(histogram, (statistics.count - 1) / 2) +
                         ValueAtRank(histogram, statistics.count / 2)) *
                        0.5;
    return statistics;
}

ClippedShares ClippedSharesOf(const Histogram& histogram, std::uint32_t maxValue)
{
    const auto first = histogram.counts.begin(), last = histogram.counts.end();
    const auto total = std::accumulate(first, last, std::uint64_t{0});
    if (total == 0) {
        return {};
    }
    const auto top = first + std::min<std::ptrdiff_t>(maxValue, last - first);
    const auto atMaximum = std::accumulate(top, last, std::uint64_t{0});
    return {static_cast<double>(*first) / static_cast<double>(total),
            static_cast<double>(atMaximum) / static_cast<double>(total)};
}

std::optional<PixelPosition> FindValue(const GrayView& view, std::uint32_t value)
{
    return WithSampleType(view, [&](auto sample) -> std::optional<PixelPosition> {
        using Sample = decltype(sample);
        if (value > std::numeric_limits<Sample>::max()) {
            return std::nullopt;
        }
        for (std::uint32_t y = 0; y < view.height; ++y) {
            const Sample* const row = view.Row<Sample>(y);
            const Sample* const end = row + view.width;
            const Sample* const found = std::find(row, end, static_cast<Sample>(value));
            if (found != end) {
                return PixelPosition{static_cast<std::uint32_t>(found - row), y};
            }
        }
        return std::nullopt;
    });
}

namespace {

// Four rows far apart are counted side by side: a processor fetches several streams at once sooner
// than one, and neighbors, which are often alike, do not wait for each other's bin.
template <typename Sample>
void CountRows(const GrayView& view, std::uint32_t* counts)
{
    const std::uint32_t quarter = view.height / 4;
    for (std::uint32_t y = 0; y < quarter; ++y) {
        const std::array<const Sample*, 4> rows = {
            view.Row<Sample>(y), view.Row<Sample>(y + quarter), view.Row<Sample>(y + 2 * quarter),
            view.Row<Sample>(y + 3 * quarter)};
        for (std::uint32_t x = 0; x < view.width; ++x) {
            for (const Sample* row : rows) {
                ++counts[row[x]];
            }
        }
    }
    for (std::uint32_t y = 4 * quarter; y < view.height; ++y) {
        const Sample* const row = view.Row<Sample>(y);
        for (std::uint32_t x = 0; x < view.width; ++x) {
            ++counts[row[x]];
        }
    }
}

// The value of the sample that has `rank` samples before it in ascending order.
std::uint32_t ValueAtRank(const Histogram& histogram, std::uint64_t rank)
{
    std::uint32_t v = 0;
    for (std::uint64_t passed = histogram.counts[0]; passed <= rank;
         passed += histogram.counts[v]) {
        ++v;
    }
    return v;
}

} // namespace
