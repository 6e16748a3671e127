// Measures the image on screen.
#include "inspector/inspection.h"

void Inspection::SetImage(const CLinkedPtr<CImage>& image)
{
    if (image.Get() == m_image.Get()) {
        return;
    }
    m_image = image;
    m_view = image ? ViewOf(*image) : std::nullopt;
    m_counts = m_view ? CountSamples(*m_view) : Histogram();
    m_whole = StatisticsOf(m_counts);
    m_clipped = ClippedSharesOf(m_counts, m_view ? m_view->MaxValue() : 0);
    for (RegionNumbers& region : m_regions) {
        Measure(region);
    }
    MeasureProfile();
    MeasureDifference();
}

void Inspection::AddRegion(const PixelRect& rect)
{
    if (rect.width == 0 || rect.height == 0) {
        return;
    }
    if (m_regions.size() == MostRegions) {
        m_regions.erase(m_regions.begin());
    }
    m_regions.push_back({rect, {}});
    Measure(m_regions.back());
}

void Inspection::SetProfile(const ProfileLine& line)
{
    m_line = line;
    MeasureProfile();
}

void Inspection::ClearMarks()
{
    m_regions.clear();
    m_line.reset();
    m_profile.clear();
}

void Inspection::HoldReference()
{
    m_reference = m_image;
    MeasureDifference();
}

std::optional<std::uint32_t> Inspection::ValueAt(std::uint32_t x, std::uint32_t y) const
{
    if (!m_view || x >= m_view->width || y >= m_view->height) {
        return std::nullopt;
    }
    return m_view->At(x, y);
}

void Inspection::Measure(RegionNumbers& region) const
{
    region.statistics =
        m_view ? StatisticsOf(CountSamples(Crop(*m_view, region.rect))) : Statistics();
}

void Inspection::MeasureProfile()
{
    m_profile.clear();
    if (m_view && m_line) {
        m_profile = ProfileAlong(*m_view, m_line->x0, m_line->y0, m_line->x1, m_line->y1, 1);
        std::erase_if(m_profile, [](const ProfilePoint& point) { return point.samples == 0; });
    }
}

void Inspection::MeasureDifference()
{
    const std::optional<GrayView> reference = m_reference ? ViewOf(*m_reference) : std::nullopt;
    m_difference = m_view && reference ? DifferenceOf(*reference, *m_view) : std::nullopt;
}
