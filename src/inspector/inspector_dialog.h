// The inspector: a modeless window with numbers about the image on screen and the calls of the
// libraries.
#pragma once

#include "inspector/drawing.h"
#include "inspector/inspection.h"
#include "inspector/numbers_text.h"
#include "platform/dialog.h"
#include "platform/paint.h"

#include <cstdint>
#include <functional>
#include <map>
#include <memory>
#include <optional>
#include <span>
#include <string>

// What the main window is asked for.
struct InspectorRequests
{
    std::function<void(const BandRange& range)> setRange; // an edge of the band was dragged
    std::function<void()> redrawMarks;                    // the regions or the profile changed
};

// What the main window shows.
struct ShownPicture
{
    CLinkedPtr<CImage> image; // may be empty
    std::uint32_t series;
    std::uint32_t scaleCenter, scaleWidth;
    bool isNegative;
    std::uint32_t maxSampleValue;
};

// A region or a profile while it is drawn, by the pixels where the mouse was pressed and is now.
struct MarkDraft
{
    bool isRegion;
    PixelPosition from, to;
};

class CInspectorDlg : public CDialog
{
public:
    CInspectorDlg(CWnd* parent, InspectorRequests requests);

    // Opens the window, or brings the open one to the front. A closed one holds no image.
    void Show();
    bool IsOpen() const { return IsWindowVisible() != FALSE; }

    // The rest is for the open window; a closed one must not be asked.

    void ShowPicture(const ShownPicture& picture);
    // The pixel under the pointer; nothing outside the picture.
    void ShowPointer(std::optional<PixelPosition> pixel);

    void AddMark(const MarkDraft& mark);
    // Draws the regions, the profile and a draft over the display.
    void DrawMarks(CImage& display, const ImageOnDisplay& shown,
                   const std::optional<MarkDraft>& draft) const;

    const Inspection& Numbers() const { return m_inspection; }

    std::span<const DispatchEntry> DispatchTable() const override;

protected:
    BOOL OnInitDialog() override;
    void DoDataExchange(CDataExchange* dx) override;
    void OnCancel() override;

private:
    // A drawn picture and the frame that shows it.
    struct Canvas
    {
        CStatic frame;
        std::unique_ptr<CImage> picture;
        BITMAPINFO256 info;
    };

    void PlaceBeside(const CWnd& owner);
    void OnCloseRequest();
    void PrepareCanvas(Canvas& canvas) const;
    void OnPaint();
    void PaintCanvas(Canvas& canvas);
    void ShowNumbers();
    void ShowRegionRow(std::size_t row, const RegionTexts& texts);
    void DrawPictures();

    void OnHistogramPressed(UINT flags, POINT point);
    void OnHistogramMoved(UINT flags, POINT point);
    void OnHistogramReleased(UINT flags, POINT point);
    SampleBand Band() const;
    void ToggleLogarithmic();
    void HoldReference();
    void ClearMarks();
    void CopyNumbers();

    void OnTimer(UINT_PTR timer);
    void ShowCalls();
    void OnCallsScrolled(UINT code, std::uint32_t thumb);
    void SaveLog();
    std::string ResultText(std::uint32_t result);

    CWnd* m_owner;
    InspectorRequests m_requests;
    Inspection m_inspection;
    ShownPicture m_shown{};
    Canvas m_histogram, m_profile;
    CScrollBar m_callBar;
    BOOL m_logarithmic = FALSE;
    std::optional<BandEdge> m_draggedEdge;
    std::uint64_t m_callsShown = 0; // the calls that the list is about, by the log's count
    std::map<std::uint32_t, std::string> m_resultTexts;
};
