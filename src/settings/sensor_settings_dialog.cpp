// Moves the sensor settings between the library and the controls.
#include "settings/sensor_settings_dialog.h"

#include "device/parameters.h"
#include "platform/boxes.h"
#include "resources/settings_dialog_template.h"
#include "settings/battery_status.h"

#include <algorithm>

namespace {

constexpr std::uint32_t Sensor = 1; // the device whose settings these are

constexpr std::uint16_t SensorCodes[] = {12, 20};
constexpr std::uint32_t MillisecondsPerMinute = 60000;
constexpr int LongestIntegrationTime = 1000; // milliseconds

constexpr UINT_PTR BatteryTimer = 100;
constexpr UINT BatteryPeriod = 1000; // milliseconds

} // namespace

CSensorSettingsDlg::CSensorSettingsDlg(CWnd* parent) : CDialog(SettingsDialogTemplate, parent) {}

std::span<const DispatchEntry> CSensorSettingsDlg::DispatchTable() const
{
    static constexpr DispatchEntry Table[] = {
        on::Command<&CSensorSettingsDlg::SelectLowResolution>(IdLowResolution),
        on::Command<&CSensorSettingsDlg::SelectHighResolution>(IdHighResolution),
        on::Notify<&CSensorSettingsDlg::OnDrawIntegrationTime>(NM_CUSTOMDRAW, IdIntegrationTime),
        on::Notify<&CSensorSettingsDlg::OnDrawTimeout>(NM_CUSTOMDRAW, IdTimeout),
        on::Timer<&CSensorSettingsDlg::OnTimer>(),
        on::Command<&CSensorSettingsDlg::ShowAddedSensor>(IdAddSensor),
    };
    return Table;
}

BOOL CSensorSettingsDlg::OnInitDialog()
{
    CDialog::OnInitDialog();

    std::uint32_t binning = 1;
    GetDeviceInt(Sensor, DeviceParameter::Binning, binning);
    m_binning = static_cast<std::int32_t>(binning);
    CheckRadioButton(IdLowResolution, IdHighResolution,
                     m_binning == 1 ? IdHighResolution : IdLowResolution);

    std::uint32_t integrationTime = 0;
    GetDeviceInt(Sensor, DeviceParameter::IntegrationTime, integrationTime);
    m_integrationTime = static_cast<std::int32_t>(integrationTime);
    m_integrationTimeSlider.SetRange(0, LongestIntegrationTime, FALSE);
    m_integrationTimeSlider.SetTicFreq(100);
    m_integrationTimeSlider.SetPos(
        static_cast<int>(std::min<std::uint32_t>(integrationTime, LongestIntegrationTime)));

    std::uint32_t timeout = 0;
    GetDeviceInt(Sensor, DeviceParameter::InactivityTimeout, timeout);
    m_timeoutMinutes = static_cast<std::int32_t>(timeout / MillisecondsPerMinute);
    m_timeoutSlider.SetRange(1, 10);
    m_timeoutSlider.SetTicFreq(1);
    m_timeoutSlider.SetPos(m_timeoutMinutes);

    SetTimer(BatteryTimer, BatteryPeriod);
    return TRUE;
}

void CSensorSettingsDlg::DoDataExchange(CDataExchange* dx)
{
    CDialog::DoDataExchange(dx);
    DDX_Control(dx, IdTimeout, m_timeoutSlider);
    DDX_Control(dx, IdIntegrationTimeValue, m_integrationTimeLabel);
    DDX_Control(dx, IdIntegrationTime, m_integrationTimeSlider);
    DDX_Control(dx, IdLowResolution, m_lowResolution);
    DDX_Radio(dx, IdLowResolution, m_binning);
    DDX_Slider(dx, IdIntegrationTime, m_integrationTime);
    DDX_Slider(dx, IdTimeout, m_timeoutMinutes);
}

void CSensorSettingsDlg::SelectLowResolution()
{
    UpdateData(TRUE);
    m_binning = 2;
}

void CSensorSettingsDlg::SelectHighResolution()
{
    UpdateData(TRUE);
    m_binning = 1;
}

// A track bar asks with every drawing, so the number and the member follow the thumb.
LRESULT CSensorSettingsDlg::OnDrawIntegrationTime()
{
    m_integrationTime = m_integrationTimeSlider.GetPos();
    m_integrationTimeLabel.SetWindowText(std::to_string(m_integrationTime));
    return 0;
}

LRESULT CSensorSettingsDlg::OnDrawTimeout()
{
    m_timeoutMinutes = m_timeoutSlider.GetPos();
    SetDlgItemInt(IdTimeoutValue, m_timeoutMinutes);
    return 0;
}

void CSensorSettingsDlg::OnTimer(UINT_PTR timer)
{
    if (timer == BatteryTimer) {
        RefreshBattery();
    }
    Default();
}

void CSensorSettingsDlg::RefreshBattery()
{
    BatteryStatus status = UnknownBatteryStatus();
    GetDeviceBlock(Sensor, DeviceParameter::BatteryStatus, status.data(), status.size());
    for (const BatteryField& field : BatteryFields) {
        SetDlgItemInt(field.control, BatteryValue(status, field));
    }
}

// The exchange of the framework's OK handling makes m_binning an index again, so it comes last.
void CSensorSettingsDlg::OnOK()
{
    SetDeviceInt(Sensor, DeviceParameter::IntegrationTime,
                 static_cast<std::uint32_t>(m_integrationTime));
    for (const std::uint16_t code : SensorCodes) {
        const BinningRecord record = EncodeBinning(m_binning, code);
        SetDeviceBlock(Sensor, DeviceParameter::Binning, record.data(), record.size());
    }
    SetDeviceInt(Sensor, DeviceParameter::InactivityTimeout,
                 static_cast<std::uint32_t>(m_timeoutMinutes) * MillisecondsPerMinute);
    KillTimer(BatteryTimer);
    CDialog::OnOK();
}

void CSensorSettingsDlg::ShowAddedSensor()
{
    struct Reading
    {
        std::uint32_t device, parameter;
    };
    std::string text;
    for (const auto [device, parameter] : {Reading{0, DeviceParameter::BaseUnitInfo},
                                           {1, DeviceParameter::SensorInfo},
                                           {2, DeviceParameter::SensorInfo}}) {
        text.clear();
        GetDeviceText(device, parameter, text);
    }
    AfxMessageBox(text.c_str());
}
