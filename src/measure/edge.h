// The sharpness of a sensor from a slanted edge, after IEC 62220-1-1: the rows across the edge,
// each shifted by its slant, make one finely sampled edge response (ESF); its derivative is the
// line response (LSF), whose transform is the modulation transfer function (MTF).
#pragma once

#include "measure/gray_view.h"

#include <optional>
#include <string>
#include <vector>

inline constexpr int EdgeOversampling = 10;      // samples of the ESF a pixel
inline constexpr double MtfFrequencyStep = 0.01; // cycles a pixel

struct MtfPoint
{
    double frequency; // cycles a pixel; 0.5 is the Nyquist frequency
    double value;     // 1 at frequency 0
};

struct EdgeResponse
{
    bool isVertical; // the edge runs from top to bottom rather than from left to right
    double angle;    // degrees from the column or row; IEC asks for 1.5 to 3
    double step;     // gray levels from the dark to the bright side
    double noise;    // standard deviation of a pixel on the flat parts
    std::vector<double> distances; // pixels from the edge, along its normal, toward the bright side
    std::vector<double> edge;      // ESF at the distances: means of the pixels that lie there
    std::vector<double> line;      // LSF, gray levels a pixel, from each distance to the next one
    std::vector<MtfPoint> mtf;     // at 0, 0.01, ... 1 cycles a pixel
};

// The view holds the edge and flat parts of at least 8 pixels on both sides of it. Nothing, with
// the reason, when there is no such edge or its slant leaves parts of a pixel unsampled, or when
// the blur reaches beyond the response, 45 pixels on both sides at most: the outermost eighth of
// the ESF then differs from the next one by more than 0.5 % of the step and 5 deviations of its
// noise.
//
// Averages over a bin and differences of bins weaken high frequencies by sinc^2(f / 10); the MTF is
// corrected for both.
std::optional<EdgeResponse> EdgeResponseOf(const GrayView& view, std::string& reason);

// The lowest frequency at which the MTF falls to the value, between points interpolated; nothing
// when it does not.
std::optional<double> FrequencyAt(const std::vector<MtfPoint>& mtf, double value);
