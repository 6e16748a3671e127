// Asks the desktop portal for its settings.
#include "platform/qt/desktop_settings.h"

#include <QDBusConnection>
#include <QDBusMessage>
#include <QDBusVariant>

#include <utility>

namespace {

const QString Service = QStringLiteral("org.freedesktop.portal.Desktop");
const QString Path = QStringLiteral("/org/freedesktop/portal/desktop");
const QString Interface = QStringLiteral("org.freedesktop.portal.Settings");
const QString Space = QStringLiteral("org.freedesktop.appearance");
constexpr int LongestWait = 300; // milliseconds

constexpr unsigned PreferDark = 1;
constexpr unsigned PreferLight = 2;

// A number that nobody has set is 0.
unsigned Read(const QString& key);

} // namespace

DesktopSettings ReadDesktopSettings()
{
    if (!QDBusConnection::sessionBus().isConnected()) {
        return {};
    }
    const unsigned scheme = Read(QStringLiteral("color-scheme"));
    DesktopSettings settings;
    if (scheme == PreferDark || scheme == PreferLight) {
        settings.prefersDark = scheme == PreferDark;
    }
    settings.highContrast = Read(QStringLiteral("contrast")) != 0;
    return settings;
}

DesktopSettingsWatch::DesktopSettingsWatch(QObject* owner,
                                           std::function<void(const DesktopSettings&)> onChange)
    : QObject(owner), m_onChange(std::move(onChange))
{
    QDBusConnection bus = QDBusConnection::sessionBus();
    if (bus.isConnected()) {
        bus.connect(Service, Path, Interface, QStringLiteral("SettingChanged"), this,
                    SLOT(OnSettingChanged()));
    }
}

void DesktopSettingsWatch::OnSettingChanged()
{
    m_onChange(ReadDesktopSettings());
}

namespace {

unsigned Read(const QString& key)
{
    QDBusMessage question =
        QDBusMessage::createMethodCall(Service, Path, Interface, QStringLiteral("Read"));
    question << Space << key;
    const QDBusMessage answer =
        QDBusConnection::sessionBus().call(question, QDBus::Block, LongestWait);
    if (answer.type() != QDBusMessage::ReplyMessage || answer.arguments().isEmpty()) {
        return 0;
    }
    QVariant value = answer.arguments().front();
    while (value.userType() == qMetaTypeId<QDBusVariant>()) {
        value = value.value<QDBusVariant>().variant();
    }
    return value.toUInt();
}

} // namespace
