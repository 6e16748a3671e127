// The capture workflow: arming, the library's events, receiving, keeping and removing images.
#include "app/main_dialog.h"
#include "device/libraries.h"
#include "device/parameters.h"
#include "device/results.h"
#include "errors/exceptions.h"
#include "platform/beeper.h"
#include "platform/boxes.h"
#include "platform/clock.h"
#include "platform/scope.h"
#include "storage/header_fields.h"

#include <algorithm>
#include <cstdio>
#include <new>
#include <utility>

namespace {

// Passes in a row that may fetch nothing before the stored-image loop gives up.
constexpr int MaxFruitlessPasses = 3;

// Images that may be handled at once, each in a box nested in the one before. One that arrives
// beyond that waits in the library's store.
constexpr int MaxImagesInHand = 8;

constexpr double SlowSave = 1.0;    // seconds
constexpr UINT SlowSaveDelay = 100; // milliseconds; the library's events write the title first

double SecondsOfCounter();
CLinkedPtr<CImage> ImageFromRecord(const TarnImageRecord& record);
std::string QuestionAboutStored(const CImage& image);

} // namespace

void CTarnTestDlg::EnableCapture()
{
    if (m_librariesClosed || IsSessionEnding()) {
        return;
    }
    enableButton.EnableWindow(FALSE);
    const std::uint32_t result = TarnEnableCapture(0, CaptureUserId, 0);
    if (result != 0) {
        TarnDisableCapture(0, 0);
        ReportEventResult(result); // with "Auto enable" it may come again and again
        return;
    }
    OpenPreview();
    paintTime = 0.0;
}

void CTarnTestDlg::OpenPreview()
{
    RECT area;
    imageArea.GetWindowRect(&area);
    m_previewCovers = QuilletOpen(m_hWnd, 0, &area, 0, &previewHandle) == 0;
    QuilletShow(previewHandle, 1);
}

void CTarnTestDlg::AbortCapture()
{
    TarnDisableCapture(0, 1);
    ClosePreview();
}

void CTarnTestDlg::ClosePreview()
{
    QuilletClose(previewHandle);
    m_previewCovers = false;
}

LRESULT CTarnTestDlg::OnTarnEvent(WPARAM wParam, LPARAM lParam)
{
    struct Reaction
    {
        std::uint32_t event;
        void (CTarnTestDlg::*react)(std::uint32_t number);
    };
    static constexpr Reaction Reactions[] = {
        {EventImageReady, &CTarnTestDlg::OnImageReady},
        {EventCaptureDisabled, &CTarnTestDlg::OnCaptureEnded},
        {EventCaptureDone, &CTarnTestDlg::OnSensorIdle},
        {EventNewSeries, &CTarnTestDlg::OnNewSeries},
        {EventPreviewEnds, &CTarnTestDlg::OnPreviewEnded},
        {EventArmed, &CTarnTestDlg::OnReadyToExpose},
        {EventExposure, &CTarnTestDlg::OnExposureTone},
    };

    if (m_librariesClosed) {
        return 0;
    }
    const auto number = static_cast<std::uint32_t>(wParam);
    const auto result = static_cast<std::uint32_t>(lParam);
    const std::uint32_t event = result & EventCodeMask;
    const auto reaction = std::ranges::find(Reactions, event, &Reaction::event);
    if (reaction != std::end(Reactions)) {
        (this->*reaction->react)(number);
    } else if ((result & ResultCategoryMask) != 0) {
        ReportEventResult(result);
    }
    return 0;
}

void CTarnTestDlg::OnImageReady(std::uint32_t number)
{
    RestoreWindow();
    if (m_imagesInHand == MaxImagesInHand) {
        m_imagesLeft.insert(number);
        return;
    }
    ReceiveImage(number);
    FinishImages();
}

// A failure is reported here: other images may wait.
void CTarnTestDlg::ReceiveImage(std::uint32_t number)
try {
    const ScopedValue inHand(m_imagesInHand, m_imagesInHand + 1);
    const ScopeExit restorePicture([this] { ShowImageInQuestion(); });
    if (const CLinkedPtr<CImage> image = FetchImage(AnyUserId, number)) {
        m_armsAgain = true;
        KeepOrRemove(image);
        m_imagesLeft.erase(number);
    }
} catch (...) {
    ReportCurrentException(m_hWnd);
}

// When no image is in hand any more: receives those that were left, then arms, once for all of
// them. Earlier the preview would hide the picture of a question.
void CTarnTestDlg::FinishImages()
{
    while (m_imagesInHand == 0 && !m_imagesLeft.empty() && !IsSessionEnding()) {
        ReceiveImage(m_imagesLeft.extract(m_imagesLeft.begin()).value());
    }
    if (m_imagesInHand == 0 && std::exchange(m_armsAgain, false) && autoEnable != FALSE) {
        EnableCapture();
    }
}

CLinkedPtr<CImage> CTarnTestDlg::FetchImage(const char* userId, std::uint32_t number)
{
    CWaitCursor waitCursor;
    // The former image goes first: its memory, still in the cache, becomes that of the new one.
    currentImage.Release();
    if (m_inQuestion.empty()) {
        m_lastImage.Release();
    }
    TarnImageRecord* fetched = nullptr;
    const std::uint32_t result = TarnGetImage(userId, number, &fetched);
    LibraryObject<TarnImageRecord> record(fetched);
    if (result == 0 && record != nullptr) {
        const CLinkedPtr<CImage> image = ImageFromRecord(*record);
        record.reset();
        ShowImage(image);
        return image;
    }
    record.reset();
    waitCursor.Restore();
    ShowImageInQuestion();
    if (result == 0) {
        UpdateDisplay(true);
    } else {
        ReportEventResult(result);
    }
    return {};
}

// Other images may arrive while a box about this one is open, so it takes its numbers first.
void CTarnTestDlg::KeepOrRemove(const CLinkedPtr<CImage>& image)
{
    const std::uint32_t series = seriesNumber;
    const std::uint32_t number = imageNumber++;
    const bool saves = autoSaveImages != FALSE;
    const bool unasked = saves ? TrySave(image, series, number) : autoEnable != FALSE;
    const bool removed = unasked || Ask(image, "Image ready!\n\nRemove image?", MB_YESNO) == IDYES;
    if (removed && !m_librariesClosed) {
        TarnRemoveImage(AnyUserId, image->m_imageId);
    }
    ShowImageInQuestion();
}

bool CTarnTestDlg::TrySave(const CLinkedPtr<CImage>& image, std::uint32_t series,
                           std::uint32_t number)
{
    constexpr UINT Style = MB_OK | MB_ICONSTOP | MB_TOPMOST;
    try {
        const CWaitCursor waitCursor;
        const double begin = SecondsOfCounter();
        const bool saved = AutoSaveImage(image, series, number);
        m_slowSave = SecondsOfCounter() - begin;
        if (saved && m_slowSave >= SlowSave) {
            SetTimer(SlowSaveTimer, SlowSaveDelay);
        }
        return saved;
    } catch (const eExcptAny& failure) {
        MessageBoxA(m_hWnd, failure.what(), appTitle.c_str(), Style);
    } catch (const std::bad_alloc&) {
        MessageBoxA(m_hWnd, "The image is not saved: out of memory.", appTitle.c_str(), Style);
    }
    return false;
}

// A folder on a slow disk or network keeps the sensor from being armed again.
void CTarnTestDlg::TellSlowSave()
{
    char text[64];
    std::snprintf(text, sizeof text, " (saving took %.1f s)", m_slowSave);
    SetWindowText(GetWindowText() + text);
}

int CTarnTestDlg::Ask(const CLinkedPtr<CImage>& image, const std::string& question, UINT buttons)
{
    m_inQuestion.push_back(image);
    const ScopeExit answered([this] {
        m_inQuestion.pop_back();
        ShowImageInQuestion();
    });
    // Another image may have been shown while a box about this one was open.
    ShowImageInQuestion();
    RestoreWindow();
    return MessageBoxA(m_hWnd, question.c_str(), appTitle.c_str(), buttons | MB_TOPMOST);
}

// Nobody can answer for a picture in a minimized window.
void CTarnTestDlg::RestoreWindow()
{
    if (IsIconic()) {
        ShowWindow(SW_RESTORE);
    }
}

void CTarnTestDlg::OnCaptureEnded(std::uint32_t)
{
    abortButton.EnableWindow(FALSE);
    SetWindowText(Template().title);
}

void CTarnTestDlg::OnSensorIdle(std::uint32_t)
{
    SetWindowText(Template().title);
}

void CTarnTestDlg::OnNewSeries(std::uint32_t)
{
    imageNumber = 1;
    ++seriesNumber;
    TellInspector();
}

void CTarnTestDlg::RestartSeries()
{
    if (UpdateData()) {
        seriesNumber = 1;
        TellInspector();
    }
}

void CTarnTestDlg::OnPreviewEnded(std::uint32_t)
{
    ClosePreview();
}

void CTarnTestDlg::OnReadyToExpose(std::uint32_t)
{
    SetWindowText("Ready to take image");
}

void CTarnTestDlg::OnExposureTone(std::uint32_t)
{
    Beep(400, 50);
}

void CTarnTestDlg::ReportEventResult(std::uint32_t result)
{
    m_eventResults.Report(result, m_hWnd, appTitle);
}

void CTarnTestDlg::CheckStoredImages()
{
    OfferStoredImages();
    FinishImages();
}

void CTarnTestDlg::OfferStoredImages()
{
    const ScopedValue inHand(m_imagesInHand, m_imagesInHand + 1);
    std::uint32_t count = 0;
    if (TarnGetImageCount(&count) != 0 || count == 0) {
        return;
    }
    if (MessageBoxA(m_hWnd, "Found old images! Go to delete loop?", appTitle.c_str(),
                    MB_YESNO | MB_TOPMOST) != IDYES) {
        return;
    }

    // Each pass takes the first image of the store, so the loop walks it while images are removed.
    const ScopeExit restorePicture([this] { ShowImageInQuestion(); });
    int fruitlessPasses = 0;
    while (fruitlessPasses < MaxFruitlessPasses && !m_librariesClosed) {
        if (TarnGetImageCount(&count) != 0 || count == 0) {
            return;
        }
        const CLinkedPtr<CImage> image = FetchImage(AnyUserId, 0);
        if (!image) {
            ++fruitlessPasses;
            continue;
        }
        fruitlessPasses = 0;
        const int answer = Ask(image, QuestionAboutStored(*image), MB_OKCANCEL);
        m_imagesLeft.erase(image->m_imageId);
        if (answer != IDOK) {
            return;
        }
        TarnRemoveImage(AnyUserId, image->m_imageId);
        if (m_lastImage.Get() == image.Get()) {
            m_lastImage.Release();
            ShowImageInQuestion();
        }
    }
}

void CTarnTestDlg::ApplyCaptureOptions()
{
    if (!UpdateData()) {
        return;
    }
    SetDeviceFlag(0, DeviceParameter::TestImageMode, testImageMode);
    SetDeviceFlag(0, DeviceParameter::GainCheck, noGainCheck ? 0 : 1);
    SetDeviceText(0, DeviceParameter::RawFilesFolder, saveRawFiles ? rawFilesFolder : "");
    SetLibraryText(LibraryParameter::FilterChain, eightBitRead ? filterChain : "");
}

namespace {

double SecondsOfCounter()
{
    std::int64_t counter = 0;
    QueryPerformanceCounter(&counter);
    return static_cast<double>(counter) / static_cast<double>(perfFrequency);
}

// Copies the library's picture, once. A record without pixels gives an image without pixels; one
// that claims deeper samples than its pixels hold is taken at what they hold.
CLinkedPtr<CImage> ImageFromRecord(const TarnImageRecord& record)
{
    const bool hasPixels = record.pixels != nullptr && record.pixelBytes != 0;
    const std::uint32_t width = hasPixels ? record.width : 0;
    const std::uint32_t height = hasPixels ? record.height : 0;
    const std::uint64_t heldBits = std::uint64_t{record.pixelBytes} * 8;
    const auto bits =
        static_cast<std::uint32_t>(std::min<std::uint64_t>(record.bitsPerSample, heldBits));

    CLinkedPtr<CImage> image(new CImage(width, height, bits, record.pixelBytes, 1));
    if (image->m_data != nullptr) {
        image->PutPixels(record.pixels, width * height, 0);
    }
    if (record.headerText != nullptr) {
        image->m_headerText = record.headerText;
    }
    if (record.userId != nullptr) {
        image->m_userId = record.userId;
    }
    image->m_imageId = record.imageId;
    image->m_imageTag = record.tag;
    return image;
}

std::string QuestionAboutStored(const CImage& image)
{
    std::string question = "Found old image:\n  UserID: " + image.m_userId;
    std::string date;
    if (GetHeaderValue(image.m_headerText, DateKey, HeaderSeparator, "", date)) {
        question += "\n  Date: " + date;
    }
    return question + "\n\nRemove image?";
}

} // namespace
