// Reference implementations of the display algorithms, step by step: what the fast ones must equal
// bit for bit, and what they are measured against. Signatures as in display/range.h, lut.h and
// resample.h.
#pragma once

#include "display/lut.h"
#include "display/range.h"

namespace reference {

void HistogramStats(std::int32_t n, const std::uint32_t* histogram, double* first, double* last,
                    double* mean, std::uint32_t* total);
void MMEqualCut(std::int32_t n, const std::uint32_t* histogram, double a, double b, double* lo,
                double* hi);
void MMAvgWeightCut(std::int32_t n, const std::uint32_t* histogram, double a, double b, double* lo,
                    double* hi);
void MMCountCut(std::int32_t n, const std::uint32_t* histogram, double a, double b, double* lo,
                double* hi);
void MMFitWindow(std::int32_t n, const std::uint32_t* histogram, double a, double b, double* lo,
                 double* hi);

void ComputeRange8(std::int32_t count, const std::uint8_t* samples, double a, double b,
                   RangeFunction function, double* lo, double* hi);
void ComputeRange16(std::int32_t count, const std::uint16_t* samples, double a, double b,
                    RangeFunction function, double* lo, double* hi);

// For 1- and 2-byte pixels only.
ScaleRange FitScaleRange(const CImage& image, double lutWindowWidth);
void BuildDisplayLut(std::uint8_t* lut, std::uint32_t size, std::uint32_t center,
                     std::uint32_t width, double gamma, bool negative, std::uint32_t maxValue);
void RenderToDisplay(const CImage* source, const std::uint8_t* lut, double zoom, std::uint32_t cx,
                     std::uint32_t cy, CImage* display);

} // namespace reference
