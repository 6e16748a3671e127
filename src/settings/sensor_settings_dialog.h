// The modal dialog in which the operator changes a sensor's settings and watches its battery.
#pragma once

#include "platform/dialog.h"

#include <cstdint>
#include <span>

// OK writes the settings to device 1 and ignores the results; Cancel writes nothing.
class CSensorSettingsDlg : public CDialog
{
public:
    explicit CSensorSettingsDlg(CWnd* parent);

    std::span<const DispatchEntry> DispatchTable() const override;

protected:
    BOOL OnInitDialog() override;
    void DoDataExchange(CDataExchange* dx) override;
    void OnOK() override;

private:
    void SelectLowResolution();
    void SelectHighResolution();
    LRESULT OnDrawIntegrationTime();
    LRESULT OnDrawTimeout();
    void OnTimer(UINT_PTR timer);
    void RefreshBattery();
    void ShowAddedSensor();

    // The binning factor: 1 high (1x1), 2 low (2x2), or whatever the library gave. During a data
    // exchange the index of the checked radio button.
    std::int32_t m_binning = -1;
    // As read (a time from 2^31 up as its bits) until the slider is drawn, which clamps them.
    std::int32_t m_integrationTime = 0; // milliseconds
    std::int32_t m_timeoutMinutes = 0;

    CSliderCtrl m_timeoutSlider;
    CStatic m_integrationTimeLabel;
    CSliderCtrl m_integrationTimeSlider;
    CButton m_lowResolution;
};
