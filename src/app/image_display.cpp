// The current image on screen: range, display table, rendering, zoom, scrolling and painting.
#include "app/main_dialog.h"
#include "device/libraries.h"
#include "display/resample.h"
#include "display/view.h"
#include "platform/clock.h"
#include "platform/paint.h"
#include "resources/resource.h"
#include "storage/header_fields.h"

#include <new>

void CTarnTestDlg::LayoutImageArea()
{
    displayBitmapInfo = std::make_unique<BITMAPINFO256>();
    FitDisplayImage();
    ApplyScaleFields();
}

// Makes the display image as large as the image area.
void CTarnTestDlg::FitDisplayImage()
{
    // Bitmap rows are padded to 4 bytes; an area as wide as its rows needs no padding.
    imageArea.GetClientRect(&imageAreaRect);
    if (imageAreaRect.right % 4 != 0) {
        RECT window;
        imageArea.GetWindowRect(&window);
        const int width = ImageAreaWidth(window.right - window.left, imageAreaRect.right);
        imageArea.SetWindowPos(0, 0, width, window.bottom - window.top, SWP_NOMOVE | SWP_NOZORDER);
        imageArea.GetClientRect(&imageAreaRect);
    }

    const auto width = static_cast<std::uint32_t>(imageAreaRect.right);
    const auto height = static_cast<std::uint32_t>(imageAreaRect.bottom);
    displayImage = CLinkedPtr<CImage>(new CImage(width, height, 8, 0, 1));
    displayImage->Fill(DisplayBackground);
    FillBitmapHeader(*displayBitmapInfo, imageAreaRect.right, imageAreaRect.bottom);
}

// The picture follows the window's edge; zoom and view center stay as they are. The preview, which
// is opened over an area, is opened again over the new one.
void CTarnTestDlg::OnSize(UINT, int, int)
{
    if (!displayImage) {
        return;
    }
    m_drag.reset();
    FitDisplayImage();
    Redraw();
    if (m_previewCovers) {
        QuilletClose(previewHandle);
        OpenPreview();
    }
}

void CTarnTestDlg::ShowImage(const CLinkedPtr<CImage>& image)
{
    m_lastImage = image;
    currentImage = image;
    UpdateDisplay(true);
}

// Also runs while an exception leaves a handler. When memory is short the area stays gray.
void CTarnTestDlg::ShowImageInQuestion() noexcept
{
    const CLinkedPtr<CImage>& image = m_inQuestion.empty() ? m_lastImage : m_inQuestion.back();
    if (image.Get() == currentImage.Get()) {
        return;
    }
    currentImage = image;
    try {
        UpdateDisplay(true);
    } catch (...) {
        Invalidate();
    }
}

void CTarnTestDlg::UpdateDisplay(bool recompute)
{
    if (!displayImage) {
        return;
    }
    if (recompute && currentImage) {
        FitRange();
        SetView(1.0);
    }
    Redraw();
    if (currentImage) {
        BuildTitle(currentImage->m_headerText);
        imageArea.SetWindowText(std::to_string(currentImage->m_width) + " x " +
                                std::to_string(currentImage->m_height) + " pixels, " +
                                GetWindowText());
    } else {
        imageArea.SetWindowText("No image");
    }
}

void CTarnTestDlg::Redraw()
{
    if (!displayImage) {
        return;
    }
    displayImage->Fill(DisplayBackground);
    if (currentImage) {
        RenderToDisplay(currentImage.Get(), displayLut.data(), zoom, viewCenterX, viewCenterY,
                        displayImage.Get());
    }
    TellInspector();
    Invalidate();
}

// An image on its way to its file is worth more than its numbers: without memory for them the
// inspector closes.
void CTarnTestDlg::TellInspector()
try {
    if (!m_inspector.IsOpen()) {
        return;
    }
    m_inspector.ShowPicture(
        {currentImage, seriesNumber, scaleCenter, scaleWidth, negative != FALSE, maxSampleValue});
    if (currentImage && currentImage->m_data != nullptr) {
        m_inspector.DrawMarks(*displayImage, Shown(), m_mark);
    }
} catch (const std::bad_alloc&) {
    m_inspector.Send(WM_CLOSE);
}

void CTarnTestDlg::FitRange()
{
    maxSampleValue = MaxSampleValue(currentImage->m_bitsPerSample);
    if (const auto range = FitScaleRange(*currentImage, lutWindowWidth)) {
        scaleWidth = range->width;
        scaleCenter = range->center;
    }
    UpdateData(FALSE);
    BuildDisplayLut();
}

void CTarnTestDlg::BuildDisplayLut()
{
    ::BuildDisplayLut(displayLut.data(), displayLutSize, scaleCenter, scaleWidth, gamma,
                      negative != FALSE, maxSampleValue);
}

void CTarnTestDlg::BuildTitle(const std::string& headerText)
{
    struct Suffix
    {
        std::string_view key;
        const char* unit;
    };
    static constexpr Suffix Suffixes[] = {{KilovoltKey, " kV"}, {MilliampereKey, " mA"}};

    std::string title;
    GetHeaderValue(headerText, ProgramNameKey, HeaderSeparator, "", title);
    for (const Suffix& suffix : Suffixes) {
        std::string value;
        if (GetHeaderValue(headerText, suffix.key, HeaderSeparator, "", value)) {
            title += ", " + value + suffix.unit;
        }
    }
    SetWindowText(title);
}

void CTarnTestDlg::OnPaint()
{
    if (IsIconic()) {
        PaintMinimized();
        return;
    }
    Default();
    CPaintDC dc(&imageArea);
    std::int64_t before = 0;
    std::int64_t after = 0;
    QueryPerformanceCounter(&before);
    if (displayImage && displayImage->m_data != nullptr) {
        const std::uint32_t width = displayImage->m_width;
        const std::uint32_t height = displayImage->m_height;
        SetStretchBltMode(&dc, COLORONCOLOR);
        SetDIBitsToDevice(&dc, 0, 0, width, height, 0, 0, 0, height, displayImage->m_data,
                          displayBitmapInfo.get(), DIB_RGB_COLORS);
    }
    QueryPerformanceCounter(&after);
    const auto frequency = static_cast<double>(perfFrequency);
    paintTime = static_cast<double>(after) / frequency - static_cast<double>(before) / frequency;
}

void CTarnTestDlg::PaintMinimized()
{
    CPaintDC dc(this);
    Send(WM_ICONERASEBKGND, reinterpret_cast<WPARAM>(&dc));
    RECT client;
    GetClientRect(&client);
    const int x = (client.right - GetSystemMetrics(SM_CXICON) + 1) / 2;
    const int y = (client.bottom - GetSystemMetrics(SM_CYICON) + 1) / 2;
    dc.DrawIcon(x, y, appIcon);
}

void CTarnTestDlg::SetZoom(double newZoom)
{
    SetView(newZoom);
    UpdateDisplay(false);
}

void CTarnTestDlg::SetView(double newZoom)
{
    if (!IsZoomUsable(newZoom)) {
        return;
    }
    m_drag.reset();
    const bool zoomed = newZoom > 1.0;
    zoom = zoomed ? newZoom : 1.0;
    horizontalBar.ShowWindow(zoomed ? SW_SHOW : SW_HIDE);
    verticalBar.ShowWindow(zoomed ? SW_SHOW : SW_HIDE);

    if (!zoomed && currentImage) {
        viewCenterX = currentImage->m_width / 2;
        viewCenterY = currentImage->m_height / 2;
    }
    MoveBars();
}

void CTarnTestDlg::MoveBars()
{
    const std::uint32_t width = currentImage ? currentImage->m_width : 0;
    const std::uint32_t height = currentImage ? currentImage->m_height : 0;
    const ScrollPositions positions =
        ScrollPositionsFor(zoom, width, height, viewCenterX, viewCenterY);
    horizontalBar.SetScrollRange(0, positions.range, FALSE);
    verticalBar.SetScrollRange(0, positions.range, FALSE);
    horizontalBar.SetScrollPos(positions.horizontal);
    verticalBar.SetScrollPos(positions.vertical);
}

void CTarnTestDlg::OnZoomIn()
{
    SetZoom(zoom * ZoomInFactor);
}

void CTarnTestDlg::OnZoomOut()
{
    SetZoom(zoom * ZoomOutFactor);
}

void CTarnTestDlg::OnZoomNormal()
{
    SetZoom(1.0);
}

void CTarnTestDlg::OnHorizontalScroll(UINT code, std::uint32_t thumb)
{
    if (currentImage &&
        ScrollStep(code, thumb, horizontalBar, +1, currentImage->m_width, viewCenterX)) {
        UpdateDisplay(false);
    }
}

void CTarnTestDlg::OnVerticalScroll(UINT code, std::uint32_t thumb)
{
    if (currentImage &&
        ScrollStep(code, thumb, verticalBar, -1, currentImage->m_height, viewCenterY)) {
        UpdateDisplay(false);
    }
}

bool CTarnTestDlg::ScrollStep(UINT code, std::uint32_t thumb, CScrollBar& bar, int direction,
                              std::uint32_t extent, std::uint32_t& center)
{
    int minimum = 0;
    int maximum = 0;
    bar.GetScrollRange(&minimum, &maximum);
    const auto step = ::ScrollStep(code, static_cast<int>(thumb), bar.GetScrollPos(), minimum,
                                   maximum, direction, extent, zoom);
    if (!step) {
        return false;
    }
    center = step->center;
    bar.SetScrollPos(step->position);
    return true;
}

void CTarnTestDlg::ApplyScaleFields()
{
    if (UpdateData() && scaleWidth > 4) {
        BuildDisplayLut();
        UpdateDisplay(false);
    }
}

void CTarnTestDlg::ToggleNegative()
{
    if (!UpdateData()) {
        return;
    }
    scaleCenter = maxSampleValue - scaleCenter;
    UpdateData(FALSE);
    ApplyScaleFields();
}

void CTarnTestDlg::ApplyLutWindowWidth()
{
    if (UpdateData()) {
        UpdateDisplay(true);
    }
}

void CTarnTestDlg::SetRange(const BandRange& range)
{
    if (!UpdateData()) {
        return;
    }
    scaleCenter = range.center;
    scaleWidth = range.width;
    UpdateData(FALSE);
    ApplyScaleFields();
}
