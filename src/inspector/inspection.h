// What the inspector knows about the image on screen: its numbers, those of up to four regions and
// a profile, which stay from image to image, and how it differs from a reference.
#pragma once

#include "image/image.h"
#include "measure/difference.h"
#include "measure/gray_view.h"
#include "measure/histogram.h"
#include "measure/profile.h"

#include <cstdint>
#include <optional>
#include <vector>

inline constexpr std::size_t MostRegions = 4;

struct RegionNumbers
{
    PixelRect rect;        // as drawn; may reach beyond a smaller image
    Statistics statistics; // of the part inside the image; count 0 when there is none
};

// Pixels, from the top left; both ends belong to it.
struct ProfileLine
{
    std::uint32_t x0, y0, x1, y1;
};

// Measures when something changes and not when something is asked.
class Inspection
{
public:
    // May be empty, or one that cannot be measured; it must not change while it is shown. The same
    // image again costs nothing.
    void SetImage(const CLinkedPtr<CImage>& image);

    // Beyond the fourth the oldest goes. An empty rectangle is ignored.
    void AddRegion(const PixelRect& rect);
    void SetProfile(const ProfileLine& line);
    void ClearMarks(); // regions and profile

    // The image shown becomes the reference; without an image there is none any more.
    void HoldReference();

    const CLinkedPtr<CImage>& Image() const { return m_image; }
    const std::optional<GrayView>& View() const { return m_view; } // nothing to measure: nothing
    const Histogram& Counts() const { return m_counts; }
    const Statistics& Whole() const { return m_whole; }
    const ClippedShares& Clipped() const { return m_clipped; }
    const std::vector<RegionNumbers>& Regions() const { return m_regions; }
    const std::optional<ProfileLine>& Line() const { return m_line; }
    const std::vector<ProfilePoint>& Profile() const { return m_profile; } // inside the image
    bool HasReference() const { return static_cast<bool>(m_reference); }
    // Image less reference; nothing while there is no reference of the image's size.
    const std::optional<Difference>& ToReference() const { return m_difference; }
    // Nothing outside the image.
    std::optional<std::uint32_t> ValueAt(std::uint32_t x, std::uint32_t y) const;

private:
    void Measure(RegionNumbers& region) const;
    void MeasureProfile();
    void MeasureDifference();

    CLinkedPtr<CImage> m_image, m_reference;
    std::optional<GrayView> m_view;
    Histogram m_counts;
    Statistics m_whole;
    ClippedShares m_clipped;
    std::vector<RegionNumbers> m_regions; // oldest first
    std::optional<ProfileLine> m_line;
    std::vector<ProfilePoint> m_profile;
    std::optional<Difference> m_difference;
};
