// Moves the inspector's numbers into its controls and pictures.
#include "inspector/inspector_dialog.h"

#include "device/libraries.h"
#include "device/results.h"
#include "display/view.h"
#include "inspector/log_file.h"
#include "platform/boxes.h"
#include "platform/clipboard.h"
#include "resources/inspector_template.h"
#include "storage/header_fields.h"

#include <algorithm>

static_assert(RegionRowCount == MostRegions + 1 && RegionColumnCount == RegionColumns.size());
static_assert(DifferenceLineCount == DifferenceLines.size());

namespace {

constexpr UINT_PTR CallTimer = 1;
constexpr UINT CallPeriod = 500; // milliseconds

PixelRect RectOf(const MarkDraft& mark);
// A call on one line; empty cells take no room.
std::string ListLine(const CallTexts& texts);

} // namespace

CInspectorDlg::CInspectorDlg(CWnd* parent, InspectorRequests requests)
    : CDialog(InspectorDialogTemplate, parent), m_owner(parent), m_requests(std::move(requests))
{
}

std::span<const DispatchEntry> CInspectorDlg::DispatchTable() const
{
    static constexpr DispatchEntry Table[] = {
        on::Paint<&CInspectorDlg::OnPaint>(),
        on::Close<&CInspectorDlg::OnCloseRequest>(),
        on::Mouse<&CInspectorDlg::OnHistogramPressed>(WM_LBUTTONDOWN),
        on::Mouse<&CInspectorDlg::OnHistogramMoved>(WM_MOUSEMOVE),
        on::Mouse<&CInspectorDlg::OnHistogramReleased>(WM_LBUTTONUP),
        on::Mouse<&CInspectorDlg::OnHistogramReleased>(WM_CAPTURECHANGED),
        on::Timer<&CInspectorDlg::OnTimer>(),
        on::VerticalScroll<&CInspectorDlg::OnCallsScrolled>(),
        on::Command<&CInspectorDlg::ToggleLogarithmic>(IdLogarithmic),
        on::Command<&CInspectorDlg::HoldReference>(IdHoldReference),
        on::Command<&CInspectorDlg::ClearMarks>(IdClearMarks),
        on::Command<&CInspectorDlg::CopyNumbers>(IdCopyNumbers),
        on::Command<&CInspectorDlg::SaveLog>(IdSaveLog),
    };
    return Table;
}

void CInspectorDlg::DoDataExchange(CDataExchange* dx)
{
    CDialog::DoDataExchange(dx);
    DDX_Control(dx, IdHistogram, m_histogram.frame);
    DDX_Control(dx, IdProfile, m_profile.frame);
    DDX_Control(dx, IdCallBar, m_callBar);
    DDX_Check(dx, IdLogarithmic, m_logarithmic);
}

BOOL CInspectorDlg::OnInitDialog()
{
    CDialog::OnInitDialog();
    PrepareCanvas(m_histogram);
    PrepareCanvas(m_profile);
    m_callsShown = 0;
    m_callBar.SetScrollRange(0, 0);
    ShowCalls();
    SetTimer(CallTimer, CallPeriod);
    return TRUE;
}

void CInspectorDlg::Show()
{
    if (IsOpen()) {
        ShowWindow(SW_RESTORE);
        return;
    }
    if (Create()) {
        PlaceBeside(*m_owner);
    }
}

// To the right of the owner as far as the screen goes, else to the left.
void CInspectorDlg::PlaceBeside(const CWnd& owner)
{
    RECT other, own;
    owner.GetWindowRect(&other);
    GetWindowRect(&own);
    const int width = own.right - own.left;
    const int mostLeft = GetSystemMetrics(SM_CXSCREEN) - width;
    const int left =
        other.right <= mostLeft || other.left < width ? other.right : other.left - width;
    SetWindowPos(std::clamp(left, 0, std::max(mostLeft, 0)), std::max(other.top, 0), 0, 0,
                 SWP_NOSIZE | SWP_NOZORDER);
}

void CInspectorDlg::OnCancel()
{
    KillTimer(CallTimer);
    m_draggedEdge.reset();
    m_shown.image = CLinkedPtr<CImage>();
    m_inspection.SetImage({});
    m_inspection.HoldReference();
    CDialog::OnCancel();
    m_requests.redrawMarks();
}

void CInspectorDlg::OnCloseRequest()
{
    OnCancel();
}

// The rows of a bitmap are padded to 4 bytes; a picture as wide as its rows needs no padding.
void CInspectorDlg::PrepareCanvas(Canvas& canvas) const
{
    RECT client;
    canvas.frame.GetClientRect(&client);
    const LONG width = client.right / 4 * 4;
    canvas.picture = std::make_unique<CImage>(static_cast<std::uint32_t>(width),
                                              static_cast<std::uint32_t>(client.bottom), 8, 1, 1);
    FillBitmapHeader(canvas.info, width, client.bottom);
}

void CInspectorDlg::OnPaint()
{
    PaintCanvas(m_histogram);
    PaintCanvas(m_profile);
}

void CInspectorDlg::PaintCanvas(Canvas& canvas)
{
    if (canvas.picture == nullptr || canvas.picture->m_data == nullptr) {
        return;
    }
    const CImage& picture = *canvas.picture;
    CPaintDC dc(&canvas.frame);
    SetDIBitsToDevice(&dc, 0, 0, picture.m_width, picture.m_height, 0, 0, 0, picture.m_height,
                      picture.m_data, &canvas.info, DIB_RGB_COLORS);
}

void CInspectorDlg::ShowPicture(const ShownPicture& picture)
{
    const bool isNew = picture.image.Get() != m_inspection.Image().Get();
    m_shown = picture;
    m_inspection.SetImage(picture.image);
    if (isNew) {
        ShowNumbers();
    }
    SetDlgItemText(IdPictureSeries, picture.image ? std::to_string(picture.series) : "");
    DrawPictures();
}

void CInspectorDlg::ShowNumbers()
{
    const CLinkedPtr<CImage>& image = m_inspection.Image();
    std::string program;
    if (image) {
        GetHeaderValue(image->m_headerText, ProgramNameKey, HeaderSeparator, "", program);
    }
    SetDlgItemText(IdPictureSize, SizeText(m_inspection));
    SetDlgItemText(IdPictureId, image ? std::to_string(image->m_imageId) : "");
    SetDlgItemText(IdPictureProgram, program);
    SetDlgItemText(IdClipped, ClippedText(m_inspection));
    SetDlgItemText(IdProfileText, ProfileText(m_inspection));

    ShowRegionRow(0, TextsOfWhole(m_inspection));
    const std::vector<RegionNumbers>& regions = m_inspection.Regions();
    for (std::size_t i = 0; i < MostRegions; ++i) {
        ShowRegionRow(i + 1, i < regions.size() ? TextsOf(regions[i].rect, regions[i].statistics)
                                                : RegionTexts());
    }
    const DifferenceTexts difference = TextsOf(m_inspection.ToReference());
    for (std::size_t i = 0; i < difference.size(); ++i) {
        SetDlgItemText(IdFirstDifference + static_cast<int>(i), difference[i]);
    }
}

void CInspectorDlg::ShowRegionRow(std::size_t row, const RegionTexts& texts)
{
    for (std::size_t column = 0; column < texts.size(); ++column) {
        SetDlgItemText(IdRegionCell(row, column), texts[column]);
    }
}

SampleBand CInspectorDlg::Band() const
{
    return BandOf(m_shown.scaleCenter, m_shown.scaleWidth, m_shown.isNegative,
                  m_shown.maxSampleValue);
}

void CInspectorDlg::DrawPictures()
{
    const SampleBand band = Band();
    DrawHistogram(*m_histogram.picture, m_inspection.Counts(), m_shown.maxSampleValue, band,
                  m_logarithmic != FALSE);
    m_histogram.frame.SetWindowText("Window from " + std::to_string(band.low) + " to " +
                                    std::to_string(band.high));
    DrawProfile(*m_profile.picture, m_inspection.Profile());
    Invalidate();
}

void CInspectorDlg::ShowPointer(std::optional<PixelPosition> pixel)
{
    const auto value = pixel ? m_inspection.ValueAt(pixel->x, pixel->y) : std::nullopt;
    SetDlgItemText(IdPointer, value ? PointText(pixel->x, pixel->y, *value) : "");
}

// A press without a drag marks nothing.
void CInspectorDlg::AddMark(const MarkDraft& mark)
{
    if (mark.from.x == mark.to.x && mark.from.y == mark.to.y) {
        return;
    }
    if (mark.isRegion) {
        m_inspection.AddRegion(RectOf(mark));
    } else {
        m_inspection.SetProfile({mark.from.x, mark.from.y, mark.to.x, mark.to.y});
    }
    ShowNumbers();
    DrawPictures();
}

void CInspectorDlg::DrawMarks(CImage& display, const ImageOnDisplay& shown,
                              const std::optional<MarkDraft>& draft) const
{
    const auto drawRegion = [&](const PixelRect& rect) {
        const double left = rect.x, top = rect.y;
        const DisplayPoint corner = shown.PointOf(left, top);
        DrawMarkFrame(display, corner, shown.PointOf(left + rect.width, top + rect.height));
        return corner;
    };
    const auto drawLine = [&](PixelPosition from, PixelPosition to) {
        DrawMarkLine(display, shown.PointOf(from.x + 0.5, from.y + 0.5),
                     shown.PointOf(to.x + 0.5, to.y + 0.5));
    };
    int number = 0;
    for (const RegionNumbers& region : m_inspection.Regions()) {
        DrawMarkNumber(display, drawRegion(region.rect), ++number);
    }
    if (const auto& line = m_inspection.Line()) {
        drawLine({line->x0, line->y0}, {line->x1, line->y1});
    }
    if (draft && draft->isRegion) {
        drawRegion(RectOf(*draft));
    } else if (draft) {
        drawLine(draft->from, draft->to);
    }
}

void CInspectorDlg::OnHistogramPressed(UINT, POINT point)
{
    m_draggedEdge = EdgeAt(point.x, Band(), static_cast<int>(m_histogram.picture->m_width),
                           m_shown.maxSampleValue);
}

// The edges do not pass one another.
void CInspectorDlg::OnHistogramMoved(UINT, POINT point)
{
    if (!m_draggedEdge) {
        return;
    }
    const std::int64_t value = ValueAtColumn(
        point.x, static_cast<int>(m_histogram.picture->m_width), m_shown.maxSampleValue);
    SampleBand band = Band();
    if (*m_draggedEdge == BandEdge::Low) {
        band.low = std::min(value, band.high - NarrowestRange);
    } else {
        band.high = std::max(value, band.low + NarrowestRange);
    }
    m_requests.setRange(RangeOf(band, m_shown.isNegative, m_shown.maxSampleValue));
}

void CInspectorDlg::OnHistogramReleased(UINT, POINT)
{
    m_draggedEdge.reset();
}

void CInspectorDlg::ToggleLogarithmic()
{
    UpdateData();
    DrawPictures();
}

void CInspectorDlg::HoldReference()
{
    m_inspection.HoldReference();
    ShowNumbers();
}

void CInspectorDlg::ClearMarks()
{
    m_inspection.ClearMarks();
    ShowNumbers();
    DrawPictures();
    m_requests.redrawMarks();
}

void CInspectorDlg::CopyNumbers()
{
    SetClipboardText(TableOf(m_inspection));
}

void CInspectorDlg::OnTimer(UINT_PTR timer)
{
    if (timer == CallTimer && LibraryCalls().Count() != m_callsShown) {
        ShowCalls();
    }
    Default();
}

// The list follows the newest call unless the operator has scrolled away from it.
void CInspectorDlg::ShowCalls()
{
    const std::vector<LibraryCall> calls = LibraryCalls().Since(0);
    int minimum = 0;
    int maximum = 0;
    m_callBar.GetScrollRange(&minimum, &maximum);
    const bool isAtEnd = m_callBar.GetScrollPos() == maximum;
    const int last = static_cast<int>(calls.size()) - static_cast<int>(CallLineCount);
    m_callBar.SetScrollRange(0, std::max(last, 0));
    if (isAtEnd) {
        m_callBar.SetScrollPos(std::max(last, 0));
    }
    m_callsShown = LibraryCalls().Count();

    const auto first = static_cast<std::size_t>(m_callBar.GetScrollPos());
    for (std::size_t i = 0; i < CallLineCount; ++i) {
        const std::string line =
            first + i < calls.size()
                ? ListLine(TextsOf(calls[first + i],
                                   [this](std::uint32_t result) { return ResultText(result); }))
                : "";
        SetDlgItemText(IdFirstCall + static_cast<int>(i), line);
    }
    SetDlgItemText(IdObjects, std::to_string(LibraryCalls().Objects()));
    SetDlgItemText(IdSlowCalls, std::to_string(std::ranges::count_if(calls, IsSlow)));
}

void CInspectorDlg::OnCallsScrolled(UINT code, std::uint32_t thumb)
{
    int minimum = 0;
    int maximum = 0;
    m_callBar.GetScrollRange(&minimum, &maximum);
    constexpr int Page = static_cast<int>(CallLineCount);
    const int position = m_callBar.GetScrollPos();
    switch (code) {
    case SB_LINEUP:
        m_callBar.SetScrollPos(position - 1);
        break;
    case SB_LINEDOWN:
        m_callBar.SetScrollPos(position + 1);
        break;
    case SB_PAGEUP:
        m_callBar.SetScrollPos(position - Page);
        break;
    case SB_PAGEDOWN:
        m_callBar.SetScrollPos(position + Page);
        break;
    case SB_THUMBPOSITION:
    case SB_THUMBTRACK:
        m_callBar.SetScrollPos(static_cast<int>(thumb));
        break;
    case SB_TOP:
        m_callBar.SetScrollPos(minimum);
        break;
    case SB_BOTTOM:
        m_callBar.SetScrollPos(maximum);
        break;
    default:
        return;
    }
    ShowCalls();
}

void CInspectorDlg::SaveLog()
{
    const std::vector<LibraryCall> calls = LibraryCalls().Since(0);
    const std::string path =
        SaveCallLog(TableOf(calls, [this](std::uint32_t result) { return ResultText(result); }));
    MessageBoxA(m_hWnd, ("The log was saved as\n" + path).c_str(), Template().title, MB_OK);
}

// Each is asked for once, because that is a call of the library, too.
std::string CInspectorDlg::ResultText(std::uint32_t result)
{
    const auto found = m_resultTexts.find(result);
    if (found != m_resultTexts.end()) {
        return found->second;
    }
    return m_resultTexts[result] = ResultDescription(result);
}

namespace {

// Both pixels belong to it.
PixelRect RectOf(const MarkDraft& mark)
{
    const auto [left, right] = std::minmax(mark.from.x, mark.to.x);
    const auto [top, bottom] = std::minmax(mark.from.y, mark.to.y);
    return {left, top, right - left + 1, bottom - top + 1};
}

std::string ListLine(const CallTexts& texts)
{
    const auto& [time, call, arguments, result, text, milliseconds, mark] = texts;
    std::string line = time + "  " + call + " " + arguments;
    if (!result.empty()) {
        line += " -> " + result + (text.empty() ? "" : " " + text);
    }
    if (!milliseconds.empty()) {
        line += "  (" + milliseconds + " ms)";
    }
    return mark.empty() ? line : line + "  " + mark;
}

} // namespace
