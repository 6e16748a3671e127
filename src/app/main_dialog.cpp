// The main window's start-up, timers, capture buttons and closing.
#include "app/main_dialog.h"

#include "device/libraries.h"
#include "device/parameters.h"
#include "device/report.h"
#include "device/results.h"
#include "platform/boxes.h"
#include "platform/clock.h"
#include "platform/scope.h"
#include "resources/icon.h"
#include "resources/main_dialog_template.h"
#include "settings/sensor_settings_dialog.h"

#include <algorithm>
#include <utility>

std::int64_t perfFrequency = 0;
std::uintptr_t previewHandle = 0;

namespace {

constexpr UINT StartUpDelay = 1000; // milliseconds
constexpr UINT PollingPeriod = 2500;

constexpr char DefaultRawFilesFolder[] = "RawFiles";
constexpr char DefaultFilterChain[] =
    "WqFilter2 RelHistMargins=(0.05; 0.05; 0.05; 0.05); Contrast=0.4; |||| MinMaxScaleTo8Bit";

} // namespace

CTarnTestDlg::CTarnTestDlg(CWnd* parent)
    : CDialog(MainDialogTemplate, parent),
      appIcon(&MainIcon),
      m_inspector(this, {[this](const BandRange& range) { SetRange(range); }, [this] { Redraw(); }})
{
}

std::span<const DispatchEntry> CTarnTestDlg::DispatchTable() const
{
    static constexpr DispatchEntry Table[] = {
        on::Paint<&CTarnTestDlg::OnPaint>(),
        on::Message<&CTarnTestDlg::OnQueryDragIcon>(WM_QUERYDRAGICON),
        on::Command<&CTarnTestDlg::AbortCapture>(IdAbort),
        on::Command<&CTarnTestDlg::EnableCapture>(IdEnable),
        on::Timer<&CTarnTestDlg::OnTimer>(),
        on::Message<&CTarnTestDlg::OnTarnEvent>(WM_TARN_EVENT),
        on::Close<&CTarnTestDlg::OnCloseRequest>(),
        on::Message<&CTarnTestDlg::OnEndSession>(WM_QUERYENDSESSION),
        on::Command<&CTarnTestDlg::OnEscape>(IDCANCEL),
        on::Command<&CTarnTestDlg::OnExit>(IdExit),
        on::LeaveField<&CTarnTestDlg::ApplyScaleFields>(IdScaleWidth),
        on::LeaveField<&CTarnTestDlg::ApplyScaleFields>(IdScaleCenter),
        on::Command<&CTarnTestDlg::OnOpen>(IdOpen),
        on::Message<&CTarnTestDlg::OnFileDropped>(WM_DROPFILES),
        on::Command<&CTarnTestDlg::ToggleNegative>(IdNegative),
        on::Command<&CTarnTestDlg::ShowInfo>(IdInfo),
        on::Command<&CTarnTestDlg::ShowInspector>(IdInspect),
        on::Command<&CTarnTestDlg::OnZoomIn>(IdZoomIn),
        on::Command<&CTarnTestDlg::OnZoomOut>(IdZoomOut),
        on::HorizontalScroll<&CTarnTestDlg::OnHorizontalScroll>(),
        on::VerticalScroll<&CTarnTestDlg::OnVerticalScroll>(),
        on::Command<&CTarnTestDlg::OnZoomNormal>(IdZoomNormal),
        on::Command<&CTarnTestDlg::ApplyCaptureOptions>(IdNoGainCheck),
        on::Command<&CTarnTestDlg::ApplyCaptureOptions>(IdTestImageMode),
        on::Command<&CTarnTestDlg::ApplyCaptureOptions>(IdSaveRawFiles),
        on::Command<&CTarnTestDlg::ApplyCaptureOptions>(IdAutoEnable),
        on::Command<&CTarnTestDlg::ApplyCaptureOptions>(IdEightBitRead),
        on::Command<&CTarnTestDlg::ShowSettings>(IdSettings),
        on::LeaveField<&CTarnTestDlg::ApplyScaleFields>(IdGamma),
        on::LeaveField<&CTarnTestDlg::ApplyLutWindowWidth>(IdLutWindowWidth),
        on::Command<&CTarnTestDlg::RestartSeries>(IdAutoSaveImages),
        on::Size<&CTarnTestDlg::OnSize>(),
        on::MouseWheel<&CTarnTestDlg::OnWheel>(),
        on::Mouse<&CTarnTestDlg::OnLeftPressed>(WM_LBUTTONDOWN),
        on::Mouse<&CTarnTestDlg::OnRightPressed>(WM_RBUTTONDOWN),
        on::Mouse<&CTarnTestDlg::OnMouseMoved>(WM_MOUSEMOVE),
        on::Mouse<&CTarnTestDlg::OnButtonReleased>(WM_LBUTTONUP),
        on::Mouse<&CTarnTestDlg::OnButtonReleased>(WM_RBUTTONUP),
        on::Mouse<&CTarnTestDlg::OnCaptureLost>(WM_CAPTURECHANGED),
        on::Message<&CTarnTestDlg::OnMouseLeft>(WM_MOUSELEAVE),
        on::Mouse<&CTarnTestDlg::OnDoubleClick>(WM_LBUTTONDBLCLK),
        on::Key<&CTarnTestDlg::OnKey>(WM_KEYDOWN),
        on::Key<&CTarnTestDlg::OnCharacter>(WM_CHAR),
    };
    return Table;
}

void CTarnTestDlg::DoDataExchange(CDataExchange* dx)
{
    CDialog::DoDataExchange(dx);
    DDX_Control(dx, IdVerticalBar, verticalBar);
    DDX_Control(dx, IdHorizontalBar, horizontalBar);
    DDX_Control(dx, IdAbort, abortButton);
    DDX_Control(dx, IdEnable, enableButton);
    DDX_Control(dx, IdImageArea, imageArea);
    DDX_Text(dx, IdPaintTime, paintTime);
    DDX_Text(dx, IdScaleCenter, scaleCenter);
    DDX_Text(dx, IdScaleWidth, scaleWidth);
    DDX_Check(dx, IdNegative, negative);
    DDX_Check(dx, IdSaveRawFiles, saveRawFiles);
    DDX_Check(dx, IdTestImageMode, testImageMode);
    DDX_Check(dx, IdNoGainCheck, noGainCheck);
    DDX_Check(dx, IdAutoEnable, autoEnable);
    DDX_Check(dx, IdEightBitRead, eightBitRead);
    DDX_Text(dx, IdGamma, gamma);
    DDX_Text(dx, IdLutWindowWidth, lutWindowWidth);
    DDX_Check(dx, IdAutoSaveImages, autoSaveImages);
}

BOOL CTarnTestDlg::OnInitDialog()
{
    try {
        StartUp();
    } catch (...) {
        CloseLibraries();
        throw;
    }
    return TRUE;
}

void CTarnTestDlg::StartUp()
{
    CDialog::OnInitDialog();
    appTitle = "Tarn test";
    SetIcon(appIcon, TRUE);
    SetIcon(appIcon, FALSE);
    QueryPerformanceFrequency(&perfFrequency);

    const std::uint32_t opened = TarnOpen(m_hWnd, appTitle.c_str());
    // Reported once, whichever of the first calls it concerns.
    const std::uint32_t missing = MissingExports();
    ReportResult(missing, m_hWnd, appTitle);
    const auto reportUnlessMissing = [&](std::uint32_t result) {
        ReportResult(result != missing ? result : 0, m_hWnd, appTitle);
    };
    reportUnlessMissing(opened);
    // The 16-bit values 1, 1, 27, 0 and the 32-bit value 0, little-endian.
    static constexpr std::uint8_t StartUpBlock[12] = {1, 0, 1, 0, 27};
    reportUnlessMissing(
        SetLibraryBlock(LibraryParameter::StartUpBlock, StartUpBlock, sizeof StartUpBlock));
    ReadLibraryOptions();

    UpdateData(FALSE);
    LayoutImageArea();
    TarnSetNotifyWindow(m_hWnd, WM_TARN_EVENT);
    SetTimer(StartUpTimer, StartUpDelay);
}

void CTarnTestDlg::ReadLibraryOptions()
{
    GetDeviceText(0, DeviceParameter::RawFilesFolder, rawFilesFolder);
    if (rawFilesFolder.empty()) {
        rawFilesFolder = DefaultRawFilesFolder;
    } else {
        saveRawFiles = TRUE;
    }

    GetLibraryText(LibraryParameter::FilterChain, filterChain);
    if (filterChain.empty()) {
        filterChain = DefaultFilterChain;
    } else {
        eightBitRead = TRUE;
    }

    GetDeviceFlag(0, DeviceParameter::TestImageMode, testImageMode);

    // The library's flag says that the check is on, the box that it is off.
    BOOL gainCheck = FALSE;
    GetDeviceFlag(0, DeviceParameter::GainCheck, gainCheck);
    noGainCheck = gainCheck == 0 ? TRUE : FALSE;
}

void CTarnTestDlg::OnTimer(UINT_PTR timer)
{
    if (timer == StartUpTimer) {
        KillTimer(StartUpTimer);
        const ScopeExit polling([this] { SetTimer(PollingTimer, PollingPeriod); });
        CheckStoredImages();
        UpdateCaptureButtons();
    } else if (timer == PollingTimer) {
        UpdateCaptureButtons();
    } else if (timer == SlowSaveTimer) {
        KillTimer(SlowSaveTimer);
        TellSlowSave();
    }
    Default();
}

void CTarnTestDlg::UpdateCaptureButtons()
{
    if (m_librariesClosed) {
        return;
    }
    DeviceList* given = nullptr;
    TarnGetDeviceList(&given);
    LibraryObject<DeviceList> list(given);

    bool canArm = false; // some device waits to be armed
    bool mayArm = true;  // and none forbids it
    bool canAbort = false;
    bool mayAbort = true;
    for (const DeviceListEntry& entry : Entries(list.get())) {
        std::uint32_t abortState = CommandForbidden;
        GetDeviceInt(entry.number, DeviceParameter::AbortState, abortState);
        std::uint32_t enableState = CommandNeedless;
        GetDeviceInt(entry.number, DeviceParameter::EnableState, enableState);
        canArm |= enableState == CommandPossible;
        mayArm &= enableState == CommandPossible || enableState == CommandNeedless;
        canAbort |= abortState != CommandNeedless;
        mayAbort &= abortState != CommandForbidden;
    }
    TarnFreeObject(list.release()); // also when none was given
    enableButton.EnableWindow(canArm && mayArm ? TRUE : FALSE);
    abortButton.EnableWindow(canAbort && mayAbort ? TRUE : FALSE);
}

bool CTarnTestDlg::CanCloseNow()
{
    CWaitCursor waitCursor;
    if (!m_librariesClosed && !AllDevicesIdle()) {
        waitCursor.Restore();
        MessageBoxA(m_hWnd, "Can not close during capturing!", appTitle.c_str(),
                    MB_OK | MB_ICONSTOP | MB_TOPMOST);
        return false;
    }
    CloseLibraries();
    return true;
}

void CTarnTestDlg::CloseLibraries()
{
    if (m_librariesClosed) {
        return;
    }
    m_librariesClosed = true;
    TarnClearNotifyWindow(m_hWnd);
    QuilletClose(previewHandle);
    TarnClose();
}

void CTarnTestDlg::AbandonWindows()
{
    if (!std::exchange(m_librariesClosed, true)) {
        TarnDisableCapture(0, 1);
        TarnClearNotifyWindow(m_hWnd);
        TarnClose();
    }
}

void CTarnTestDlg::OnCloseRequest()
{
    if (CanCloseNow()) {
        Default();
    }
}

void CTarnTestDlg::OnExit()
{
    // A rejected field keeps the window open, so it is looked at while the libraries still are.
    if (UpdateData() && CanCloseNow()) {
        OnOK();
    }
}

void CTarnTestDlg::OnEscape()
{
    if (CanCloseNow()) {
        OnCancel();
    }
}

LRESULT CTarnTestDlg::OnEndSession(WPARAM, LPARAM)
{
    // The process is being ended: no question can be asked, but no sensor may stay armed. One that
    // has just been told to arm may still report that it is idle.
    if (!m_librariesClosed) {
        TarnDisableCapture(0, 1);
    }
    CloseLibraries();
    EndDialog(IDCANCEL);
    return TRUE;
}

LRESULT CTarnTestDlg::OnQueryDragIcon(WPARAM, LPARAM)
{
    return reinterpret_cast<LRESULT>(appIcon);
}

void CTarnTestDlg::ShowInfo()
{
    MessageBoxA(m_hWnd, LibraryReport().c_str(), appTitle.c_str(), MB_OK | MB_TOPMOST);
}

void CTarnTestDlg::ShowSettings()
{
    CSensorSettingsDlg(this).DoModal();
}

void CTarnTestDlg::ShowInspector()
{
    m_inspector.Show();
    Redraw();
}
