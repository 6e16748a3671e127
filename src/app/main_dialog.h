// The main window: it drives the capture library, shows the images and saves them.
//
// The class is written in files by topic, in the order of an image's way through them:
//   main_dialog.cpp       start-up, timers, capture buttons, closing, Info and settings
//   capture_workflow.cpp  arming, the library's events, receiving and keeping images
//   image_display.cpp     range, table, rendering, zoom, scrolling, painting
//   image_input.cpp       the mouse and the keys on the picture
//   image_files.cpp       opening and saving
#pragma once

#include "app/event_results.h"
#include "display/lut.h"
#include "display/resample.h"
#include "image/image.h"
#include "inspector/inspector_dialog.h"
#include "platform/dialog.h"
#include "platform/paint.h"

#include <array>
#include <cstdint>
#include <memory>
#include <optional>
#include <set>
#include <string>
#include <vector>

// Ticks of the performance counter in a second, read when the main window opens.
extern std::int64_t perfFrequency;

// The preview window's handle, 0 until a preview was opened.
extern std::uintptr_t previewHandle;

inline constexpr UINT_PTR StartUpTimer = 2;
inline constexpr UINT_PTR PollingTimer = 3;
inline constexpr UINT_PTR SlowSaveTimer = 4;

class CTarnTestDlg : public CDialog
{
public:
    explicit CTarnTestDlg(CWnd* parent = nullptr);

    std::span<const DispatchEntry> DispatchTable() const override;

    // Disarms and closes the capture library without a call that needs a window.
    void AbandonWindows();

    // Arms the sensor and opens the preview over the image area.
    void EnableCapture();
    void AbortCapture();
    void OpenPreview(); // over the image area
    void ClosePreview();

    // Handler of WM_TARN_EVENT; always 0.
    LRESULT OnTarnEvent(WPARAM wParam, LPARAM lParam);

    // Makes the library's image of this number the current one (0: the first in the store), shows
    // it and returns it; empty when nothing was fetched. A failure is reported as an event's
    // result.
    CLinkedPtr<CImage> FetchImage(const char* userId, std::uint32_t number);

    // Offers the images left in the library's store by earlier runs for removal, one by one.
    void CheckStoredImages();

    // Sends the option check boxes to the library.
    void ApplyCaptureOptions();

    CInspectorDlg& Inspector() { return m_inspector; }

    // Redraws the display image from the current one and asks for a paint. recompute: choose the
    // range from the histogram and reset the zoom first, as for a new image.
    void UpdateDisplay(bool recompute);
    void Redraw(); // the same without a new range and title
    void BuildDisplayLut();
    void BuildTitle(const std::string& headerText);
    void SetZoom(double newZoom);

    // Reads a file and shows its image; on failure the operator is told and nothing changes.
    void OpenImageFile(const std::string& path);

    // Writes the image into "TmpImages" beside the program, under a name made of its program name
    // and the numbers. False when it was not saved: there is nothing to save, or the folder could
    // not be made. Raises what WriteQ32File raises.
    bool AutoSaveImage(CLinkedPtr<CImage> image, std::uint32_t series, std::uint32_t number);

protected:
    BOOL OnInitDialog() override;
    void DoDataExchange(CDataExchange* dx) override;

    std::unique_ptr<BITMAPINFO256> displayBitmapInfo;
    CLinkedPtr<CImage> displayImage; // 8 bits, as large as the image area
    CLinkedPtr<CImage> currentImage; // received or opened
    std::array<std::uint8_t, DisplayLutSize> displayLut{};
    std::uint32_t displayLutSize = DisplayLutSize;
    std::uint32_t maxSampleValue = InitialMaxSampleValue; // until an image tells
    RECT imageAreaRect{};                                 // client rectangle of the image area
    double zoom = 1.0;
    std::uint32_t viewCenterX = 0; // source pixels
    std::uint32_t viewCenterY = 0;
    std::uint32_t seriesNumber = 1; // both number the automatically saved files: those of the
    std::uint32_t imageNumber = 1;  // next image, which takes them when it is fetched
    std::string appTitle;
    std::string rawFilesFolder; // sent while "Save raw files" is checked
    std::string filterChain;    // sent while "8 bit read" is checked
    CScrollBar verticalBar;
    CScrollBar horizontalBar;
    CButton abortButton;
    CButton enableButton;
    CStatic imageArea;
    double paintTime = 0.0;           // seconds of the last transfer to the screen
    std::uint32_t scaleCenter = 3700; // sensor units
    std::uint32_t scaleWidth = 800;
    BOOL negative = FALSE;
    BOOL saveRawFiles = FALSE;
    BOOL testImageMode = FALSE;
    BOOL noGainCheck = FALSE;
    BOOL autoEnable = FALSE;
    BOOL eightBitRead = FALSE;
    double gamma = 1.0;
    double lutWindowWidth = 100.0; // percent of the occupied range
    BOOL autoSaveImages = FALSE;
    HICON appIcon;

private:
    // Start-up, timers and closing.
    void StartUp();
    void ReadLibraryOptions();
    void OnTimer(UINT_PTR timer);
    void UpdateCaptureButtons();
    bool CanCloseNow();
    void CloseLibraries();
    void OnCloseRequest();
    void OnExit();
    void OnEscape();
    LRESULT OnEndSession(WPARAM wParam, LPARAM lParam);
    LRESULT OnQueryDragIcon(WPARAM wParam, LPARAM lParam);
    void ShowInfo();
    void ShowSettings();
    void ShowInspector();

    // Reactions to the library's events; number: the event's image number.
    void OnImageReady(std::uint32_t number);
    void ReceiveImage(std::uint32_t number);
    void FinishImages();
    void OfferStoredImages();
    void OnCaptureEnded(std::uint32_t number);
    void OnSensorIdle(std::uint32_t number);
    void OnNewSeries(std::uint32_t number);
    void OnPreviewEnded(std::uint32_t number);
    void OnReadyToExpose(std::uint32_t number);
    void OnExposureTone(std::uint32_t number);
    void ReportEventResult(std::uint32_t result);
    void KeepOrRemove(const CLinkedPtr<CImage>& image);
    bool TrySave(const CLinkedPtr<CImage>& image, std::uint32_t series, std::uint32_t number);
    void TellSlowSave();
    int Ask(const CLinkedPtr<CImage>& image, const std::string& question, UINT buttons);
    void RestoreWindow();
    void RestartSeries();

    // Display. The picture belongs to the topmost open question, so that no answer is given over
    // another image's picture; with no question open, to the image received or opened last.
    void ShowImage(const CLinkedPtr<CImage>& image);
    void ShowImageInQuestion() noexcept;
    void LayoutImageArea();
    void FitDisplayImage();
    void OnSize(UINT type, int width, int height);
    void OnPaint();
    void PaintMinimized();
    void FitRange();
    void SetView(double newZoom);
    void MoveBars(); // to the view center
    void OnZoomIn();
    void OnZoomOut();
    void OnZoomNormal();
    void OnHorizontalScroll(UINT code, std::uint32_t thumb);
    void OnVerticalScroll(UINT code, std::uint32_t thumb);
    bool ScrollStep(UINT code, std::uint32_t thumb, CScrollBar& bar, int direction,
                    std::uint32_t extent, std::uint32_t& center);
    void ApplyScaleFields();
    void ToggleNegative();
    void ApplyLutWindowWidth();
    void SetRange(const BandRange& range); // as if typed into the fields
    void TellInspector();                  // of all that it shows, while it is open

    // The mouse and the keys on the picture, through the operations of the buttons, bars and
    // fields. Points are pixels of the image area.
    bool CanPoint() const;
    PicturePlace Place() const;
    void OnWheel(UINT flags, int turn, POINT point);
    void ZoomAround(POINT point, double factor);
    bool MoveView(const PicturePlace& place);
    void OnLeftPressed(UINT flags, POINT point);
    void OnRightPressed(UINT flags, POINT point);
    void OnMouseMoved(UINT flags, POINT point);
    void OnButtonReleased(UINT flags, POINT point);
    void OnDoubleClick(UINT flags, POINT point);
    void OnCaptureLost(UINT flags, POINT point);
    LRESULT OnMouseLeft(WPARAM wParam, LPARAM lParam);
    ImageOnDisplay Shown() const; // needs a current image
    bool BeginMark(UINT flags, POINT point);
    void DragPicture(const PicturePlace& from, POINT way);
    void DragRange(std::uint32_t fromCenter, std::uint32_t fromWidth, POINT way);
    void OnKey(UINT key);
    void OnCharacter(UINT character);

    // Files.
    void OnOpen();
    LRESULT OnFileDropped(WPARAM wParam, LPARAM lParam);

    // A button that is held down, with what it found.
    struct Drag
    {
        bool changesRange; // else it moves the picture
        POINT from;
        PicturePlace place;
        std::uint32_t scaleCenter, scaleWidth;
    };
    std::optional<Drag> m_drag;
    std::optional<MarkDraft> m_mark; // of the inspector, while it is drawn
    int m_wheelTurn = 0;             // less than a notch
    bool m_previewCovers = false;    // the image area, from its opening to its closing

    std::string m_openFolder; // where the last opened file stood
    CInspectorDlg m_inspector;
    bool m_librariesClosed = false;
    EventResults m_eventResults;
    int m_imagesInHand = 0;   // events and walks of the store, each nested in the one before
    bool m_armsAgain = false; // an image came since the sensor was last armed by "Auto enable"
    double m_slowSave = 0;    // seconds of the last save
    std::set<std::uint32_t> m_imagesLeft;         // numbers of those that wait for their turn
    std::vector<CLinkedPtr<CImage>> m_inQuestion; // one an open question, the topmost last
    CLinkedPtr<CImage> m_lastImage;               // received or opened last; shown at rest
};
