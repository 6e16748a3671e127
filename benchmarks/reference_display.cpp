// The display algorithms step by step.
#include "benchmarks/reference_display.h"

#include <algorithm>
#include <cmath>

namespace reference {

namespace {

template <typename Sample>
void ComputeRange(std::int32_t bins, std::uint32_t* histogram, std::int32_t count,
                  const Sample* samples, double a, double b, RangeFunction function, double* lo,
                  double* hi);

template <typename Sample>
std::uint32_t Resample(const Sample* samples, std::uint32_t width, std::uint32_t height,
                       const std::uint8_t* lut, std::uint32_t cx, std::uint32_t cy, double s,
                       std::uint32_t step, CImage& display);

} // namespace

void HistogramStats(std::int32_t n, const std::uint32_t* histogram, double* first, double* last,
                    double* mean, std::uint32_t* total)
{
    *first = *last = *mean = 0.0;
    *total = 0;
    std::int32_t i = 0;
    while (i < n && histogram[i] == 0) {
        ++i;
    }
    if (i >= n) {
        return;
    }
    *first = i;
    double sum = 0.0;
    for (std::int32_t j = i; j < n; ++j) {
        if (histogram[j] != 0) {
            *last = j;
        }
        *total += histogram[j];
        sum += static_cast<std::uint32_t>(j) * histogram[j];
    }
    if (*total > 0) {
        *mean = sum / *total;
    }
}

void MMEqualCut(std::int32_t n, const std::uint32_t* histogram, double a, double b, double* lo,
                double* hi)
{
    double mean;
    std::uint32_t total;
    HistogramStats(n, histogram, lo, hi, &mean, &total);
    const double first = *lo, last = *hi;
    *lo = first + (last - first) * a;
    if (*lo < 0) {
        *lo = 0;
    }
    *hi = last - (last - first) * b;
    if (*hi >= n) {
        *hi = n - 1;
    }
    if (*hi < *lo) {
        *hi = *lo;
    }
}

void MMAvgWeightCut(std::int32_t n, const std::uint32_t* histogram, double a, double b, double* lo,
                    double* hi)
{
    double mean;
    std::uint32_t total;
    HistogramStats(n, histogram, lo, hi, &mean, &total);
    const double first = *lo, last = *hi;
    *lo = first + (mean - first) * a;
    if (*lo < 0) {
        *lo = 0;
    }
    *hi = last - (last - mean) * b;
    if (*hi >= n) {
        *hi = n - 1;
    }
    if (*hi < *lo) {
        *hi = *lo;
    }
}

void MMCountCut(std::int32_t n, const std::uint32_t* histogram, double a, double b, double* lo,
                double* hi)
{
    double mean;
    std::uint32_t total;
    HistogramStats(n, histogram, lo, hi, &mean, &total);
    if (0 < a && a < 1) {
        std::int32_t i = static_cast<std::int32_t>(*lo);
        double remaining = total * a;
        while (i < n && remaining > 0) {
            remaining -= histogram[i];
            i += 1;
        }
        *lo = i;
    }
    if (0 < b && b < 1) {
        std::int32_t i = static_cast<std::int32_t>(*hi);
        double remaining = total * b;
        while (i > 0 && remaining > 0) {
            remaining -= histogram[i];
            i -= 1;
        }
        *hi = i;
    }
    if (*hi < *lo) {
        *hi = *lo;
    }
}

void MMFitWindow(std::int32_t n, const std::uint32_t* histogram, double a, double, double* lo,
                 double* hi)
{
    double mean;
    std::uint32_t total;
    HistogramStats(n, histogram, lo, hi, &mean, &total);
    const double first = *lo, last = *hi;
    double f = 1 - a;
    if (f <= 0) {
        f = 0;
    }
    const double w = f * (last - first);
    const std::int32_t start = first > 0 ? static_cast<std::int32_t>(first) : 0;
    std::uint32_t best = 0;
    std::int32_t bestStart = start;
    for (std::int32_t i = start; i < n && i < last - w; ++i) {
        std::uint32_t sum = 0;
        if (w > 0) {
            for (std::int32_t k = 0; k < w; ++k) {
                sum += histogram[i + k];
            }
        }
        if (sum > best) {
            best = sum;
            bestStart = i;
        }
    }
    *lo = bestStart;
    *hi = bestStart + w;
    if (*hi < *lo) {
        *hi = *lo;
    }
}

void ComputeRange8(std::int32_t count, const std::uint8_t* samples, double a, double b,
                   RangeFunction function, double* lo, double* hi)
{
    std::uint32_t histogram[256] = {};
    ComputeRange(256, histogram, count, samples, a, b, function, lo, hi);
}

void ComputeRange16(std::int32_t count, const std::uint16_t* samples, double a, double b,
                    RangeFunction function, double* lo, double* hi)
{
    std::uint32_t histogram[65536] = {};
    ComputeRange(65536, histogram, count, samples, a, b, function, lo, hi);
}

ScaleRange FitScaleRange(const CImage& image, double lutWindowWidth)
{
    const auto count = static_cast<std::int32_t>(image.m_width * image.m_height);
    const double a = 1 - lutWindowWidth * 0.01;
    double lo, hi;
    if (image.m_pixelBytes == 1) {
        ComputeRange8(count, image.m_data, a, 0.0, MMFitWindow, &lo, &hi);
    } else {
        ComputeRange16(count, reinterpret_cast<const std::uint16_t*>(image.m_data), a, 0.0,
                       MMFitWindow, &lo, &hi);
    }
    const auto width = static_cast<std::uint32_t>(hi - lo);
    return {static_cast<std::uint32_t>(width / 2 + lo), width};
}

void BuildDisplayLut(std::uint8_t* lut, std::uint32_t size, std::uint32_t center,
                     std::uint32_t width, double gamma, bool negative, std::uint32_t maxValue)
{
    double g = 1.0;
    if (gamma > 0) {
        g = 1 / gamma;
    }
    for (std::uint32_t i = 0; i < size; ++i) {
        double x = i - (center - width * 0.5);
        if (negative) {
            x = maxValue - x;
        }
        double v = width > 0 ? x * 255 / width : (x > 0 ? 255 : 0);
        if (v < 0) {
            v = 0;
        }
        if (v >= 255) {
            v = 255;
        }
        lut[i] = static_cast<std::uint8_t>(255 * std::pow(std::trunc(v) * 0.00392156862745098, g));
    }
}

void RenderToDisplay(const CImage* source, const std::uint8_t* lut, double zoom, std::uint32_t cx,
                     std::uint32_t cy, CImage* display)
{
    if (source == nullptr || display == nullptr) {
        return;
    }
    const double sx = static_cast<double>(source->m_width) / display->m_width / zoom;
    const double sy = static_cast<double>(source->m_height) / display->m_height / zoom;
    const double s = std::max(sx, sy);
    const auto step = static_cast<std::uint32_t>(s * 2 / 7 + 1.0);
    if (source->m_pixelBytes == 1) {
        Resample(source->m_data, source->m_width, source->m_height, lut, cx, cy, s, step, *display);
    } else if (source->m_pixelBytes == 2) {
        Resample(reinterpret_cast<const std::uint16_t*>(source->m_data), source->m_width,
                 source->m_height, lut, cx, cy, s, step, *display);
    }
}

namespace {

template <typename Sample>
void ComputeRange(std::int32_t bins, std::uint32_t* histogram, std::int32_t count,
                  const Sample* samples, double a, double b, RangeFunction function, double* lo,
                  double* hi)
{
    for (std::int32_t i = 0; i < count; ++i) {
        ++histogram[samples[i]];
    }
    if (function != nullptr) {
        function(bins, histogram, a, b, lo, hi);
    } else {
        MMEqualCut(bins, histogram, 0, 0, lo, hi);
    }
}

template <typename Sample>
std::uint32_t Resample(const Sample* samples, std::uint32_t width, std::uint32_t height,
                       const std::uint8_t* lut, std::uint32_t cx, std::uint32_t cy, double s,
                       std::uint32_t step, CImage& display)
{
    const std::uint32_t displayWidth = display.m_width, displayHeight = display.m_height;
    const double x0 = cx - displayWidth * s / 2;
    double xs = x0 > 0 ? x0 : 0;
    if (xs >= width - s) {
        xs = width - s;
    }
    const double xStart = std::trunc(xs);

    std::uint32_t rows = displayHeight, top = 0;
    if (height / s < displayHeight + 1.0) {
        rows = static_cast<std::uint32_t>(height / s);
    }
    if (rows < displayHeight) {
        top = (displayHeight - rows) / 2;
    }
    const auto cols = static_cast<std::uint32_t>(std::min(displayWidth - 1.0, width / s));

    const double y0 = cy - displayHeight * s / 2;
    double ys = y0 > 0 ? y0 : 0;
    if (ys >= height - s) {
        ys = height - s;
    }

    std::uint32_t visited = 0, v = 0;
    std::uint64_t index = std::uint64_t{displayWidth} * top;
    for (std::uint32_t row = top; row < top + rows && index < display.m_dataSize; ++row) {
        const auto yLo = static_cast<std::uint32_t>(ys);
        auto yHi = static_cast<std::uint32_t>(ys + s + 0.5);
        if (yHi == yLo) {
            yHi += 1;
        }
        yHi = std::min(yHi, height);
        double xr = xStart;
        for (std::uint32_t col = 0; col < cols; ++col) {
            const auto xLo = static_cast<std::uint32_t>(xr);
            auto xHi = static_cast<std::uint32_t>(xr + s + 0.5);
            if (xHi == xLo) {
                xHi += 1;
            }
            xHi = std::min(xHi, width);
            std::uint32_t sum = 0, n = 0;
            for (std::uint32_t y = yLo; y < yHi; y += step) {
                for (std::uint32_t x = xLo; x < xHi; x += step) {
                    sum += samples[std::size_t{y} * width + x];
                    n += 1;
                }
            }
            if (n > 0) {
                v = sum / n;
            }
            display.m_data[index] = lut[v % 4096];
            index += 1;
            xr += s;
            visited += 1;
        }
        index += displayWidth - cols;
        ys += s;
    }
    return visited;
}

} // namespace

} // namespace reference
