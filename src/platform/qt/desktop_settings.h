// The settings that a desktop publishes on the session bus.
#pragma once

#include <QObject>

#include <functional>
#include <optional>

struct DesktopSettings
{
    std::optional<bool> prefersDark; // none: the desktop does not say
    bool highContrast = false;
};

// Waits at most some tenths of a second; what nobody answers stays as above.
DesktopSettings ReadDesktopSettings();

// Calls with the new settings whenever they change.
class DesktopSettingsWatch : public QObject
{
    Q_OBJECT

public:
    DesktopSettingsWatch(QObject* owner, std::function<void(const DesktopSettings&)> onChange);

private slots: // the bus calls it by its name
    void OnSettingChanged();

private:
    std::function<void(const DesktopSettings&)> m_onChange;
};
