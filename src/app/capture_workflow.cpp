// The capture workflow: arming, the library's events, receiving, keeping and removing images.
#include "app/main_dialog.h"
#include "device/libraries.h"
#include "device/parameters.h"
#include "device/results.h"
#include "errors/exceptions.h"
#include "platform/boxes.h"
#include "platform/system.h"
#include "storage/header_fields.h"

#include <algorithm>
#include <utility>

namespace {

constexpr char CaptureUserId[] = "My ID"; // arms the sensor
constexpr char AnyUserId[] = "";          // fetches and removes

// Passes in a row that may fetch nothing before the stored-image loop gives up.
constexpr int MaxFruitlessPasses = 3;

// Images that may wait for an answer at once, each in a box nested in the one before. An image that
// arrives beyond that stays in the library's store.
constexpr int MaxImagesInQuestion = 8;

// Counts for the life of the object.
class Counted
{
public:
    explicit Counted(int& count) : m_count(count) { ++m_count; }
    ~Counted() { --m_count; }
    Counted(const Counted&) = delete;
    Counted& operator=(const Counted&) = delete;

private:
    int& m_count;
};

CLinkedPtr<CImage> ImageFromRecord(const TarnImageRecord& record);

} // namespace

void CTarnTestDlg::EnableCapture()
{
    if (m_librariesClosed) {
        return;
    }
    enableButton.EnableWindow(FALSE);
    const std::uint32_t result = TarnEnableCapture(0, CaptureUserId, 0);
    if (result != 0) {
        TarnDisableCapture(0, 0);
        ReportResult(result, m_hWnd, appTitle);
        return;
    }
    RECT area;
    imageArea.GetWindowRect(&area);
    QuilletOpen(m_hWnd, 0, &area, 0, &previewHandle);
    QuilletShow(previewHandle, 1);
    paintTime = 0.0;
}

void CTarnTestDlg::AbortCapture()
{
    TarnDisableCapture(0, 1);
    ClosePreview();
}

void CTarnTestDlg::ClosePreview()
{
    QuilletClose(previewHandle);
}

LRESULT CTarnTestDlg::OnTarnEvent(WPARAM wParam, LPARAM lParam)
{
    struct Reaction
    {
        std::uint32_t event;
        void (CTarnTestDlg::*react)(std::uint32_t number);
    };
    static constexpr Reaction Reactions[] = {
        {2, &CTarnTestDlg::OnImageReady},    {3, &CTarnTestDlg::OnCaptureEnded},
        {4, &CTarnTestDlg::OnSensorIdle},    {6, &CTarnTestDlg::OnNewSeries},
        {7, &CTarnTestDlg::OnPreviewEnded},  {15, &CTarnTestDlg::OnReadyToExpose},
        {17, &CTarnTestDlg::OnExposureTone},
    };

    if (m_librariesClosed) {
        return 0;
    }
    const auto number = static_cast<std::uint32_t>(wParam);
    const auto result = static_cast<std::uint32_t>(lParam);
    const std::uint32_t event = result & 0xFFFFFF;
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
    if (IsIconic()) {
        ShowWindow(SW_RESTORE);
    }
    if (m_imagesInQuestion == MaxImagesInQuestion) {
        return;
    }
    const Counted inQuestion(m_imagesInQuestion);
    std::uint32_t imageId = 0;
    const std::uint32_t result = TryFetchImage(AnyUserId, number, imageId);
    if (result != 0) {
        ReportEventResult(result);
    }
    if (imageId == 0) {
        if (autoEnable) {
            EnableCapture();
        }
        return;
    }

    // Other images may become current while a question about this one is open.
    const CLinkedPtr<CImage> image = currentImage;
    const bool saved = (autoSaveImages != 0) && TrySave(image);
    const bool unasked = saved || ((autoEnable != 0) && (autoSaveImages == 0));
    if ((unasked || AskToRemove()) && !m_librariesClosed) {
        TarnRemoveImage(AnyUserId, imageId);
    }
    if (autoEnable) {
        EnableCapture();
    }
    ++imageNumber;
}

std::uint32_t CTarnTestDlg::FetchImage(const char* userId, std::uint32_t number)
{
    std::uint32_t imageId = 0;
    ReportResult(TryFetchImage(userId, number, imageId), m_hWnd, appTitle);
    return imageId;
}

std::uint32_t CTarnTestDlg::TryFetchImage(const char* userId, std::uint32_t number,
                                          std::uint32_t& imageId)
{
    currentImage.Release();
    TarnImageRecord* fetched = nullptr;
    const std::uint32_t result = TarnGetImage(userId, number, &fetched);
    const LibraryObject<TarnImageRecord> record(fetched);
    if (result != 0) {
        return result;
    }
    if (record) {
        currentImage = ImageFromRecord(*record);
        imageId = currentImage->m_imageId;
    }
    UpdateDisplay(true);
    return 0;
}

bool CTarnTestDlg::TrySave(const CLinkedPtr<CImage>& image)
{
    try {
        return AutoSaveImage(image);
    } catch (const eExcptAny& failure) {
        MessageBoxA(m_hWnd, failure.what(), appTitle.c_str(), MB_OK | MB_ICONSTOP | MB_TOPMOST);
        return false;
    }
}

bool CTarnTestDlg::AskToRemove()
{
    return MessageBoxA(m_hWnd, "Image ready!\n\nRemove image?", appTitle.c_str(),
                       MB_YESNO | MB_TOPMOST) == IDYES;
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
}

void CTarnTestDlg::RestartSeries()
{
    UpdateData();
    seriesNumber = 1;
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

// A flood of results must not bury the window in boxes: while one is open the next ones wait, and
// of those that waited only the last is shown.
void CTarnTestDlg::ReportEventResult(std::uint32_t result)
{
    if (m_eventResultShown) {
        m_waitingResult = result;
        ++m_waitingResults;
        return;
    }
    m_eventResultShown = true;
    ReportResult(result, m_hWnd, appTitle);
    while (m_waitingResults != 0) {
        const std::uint32_t before = std::exchange(m_waitingResults, 0) - 1;
        if (before == 0) {
            ReportResult(m_waitingResult, m_hWnd, appTitle);
        } else {
            ReportLastResult(m_waitingResult, before, m_hWnd, appTitle);
        }
    }
    m_eventResultShown = false;
}

void CTarnTestDlg::CheckStoredImages()
{
    std::uint32_t count = 0;
    if (TarnGetImageCount(&count) != 0 || count == 0) {
        return;
    }
    if (MessageBoxA(m_hWnd, "Found old images! Go to delete loop?", appTitle.c_str(),
                    MB_YESNO | MB_TOPMOST) != IDYES) {
        return;
    }

    // Each pass takes the first image of the store, so the loop walks it while images are removed.
    int fruitlessPasses = 0;
    while (fruitlessPasses < MaxFruitlessPasses && !m_librariesClosed) {
        if (TarnGetImageCount(&count) != 0 || count == 0) {
            return;
        }
        if (FetchImage(AnyUserId, 0) == 0) {
            ++fruitlessPasses;
            continue;
        }
        fruitlessPasses = 0;

        const CLinkedPtr<CImage> image = currentImage;
        std::string question = "Found old image:\n  UserID: " + image->m_userId;
        std::string date;
        if (GetHeaderValue(image->m_headerText, DateKey, HeaderSeparator, "", date)) {
            question += "\n  Date: " + date;
        }
        question += "\n\nRemove image?";
        if (MessageBoxA(m_hWnd, question.c_str(), appTitle.c_str(), MB_OKCANCEL | MB_TOPMOST) !=
            IDOK) {
            return;
        }
        TarnRemoveImage(AnyUserId, image->m_imageId);
        currentImage.Release();
        UpdateDisplay(true);
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

} // namespace
