#include "Platform/FreedesktopNotifier.h"

#include "Core/Logging.h"

#include <QDBusConnectionInterface>
#include <QDBusMessage>
#include <QVariantMap>

namespace {

constexpr int expireTimeoutMs = 10000;

} // namespace

std::unique_ptr<DesktopNotifier> DesktopNotifier::createDefault()
{
    QDBusConnection bus = QDBusConnection::sessionBus();
    if (!FreedesktopNotifier::isServedOn(bus)) {
        qCInfo(lcPlatform) << "no desktop notification service on the session bus";
        return nullptr;
    }
    return std::make_unique<FreedesktopNotifier>(bus);
}

FreedesktopNotifier::FreedesktopNotifier(QDBusConnection connection) : m_connection(std::move(connection)) {}

bool FreedesktopNotifier::isServedOn(const QDBusConnection &connection)
{
    if (!connection.isConnected() || !connection.interface())
        return false;
    const QString service = QLatin1String(serviceName);
    return connection.interface()->isServiceRegistered(service).value() ||
           connection.interface()->activatableServiceNames().value().contains(service);
}

bool FreedesktopNotifier::notify(const QString &summary, const QString &body)
{
    QDBusMessage call = QDBusMessage::createMethodCall(QLatin1String(serviceName),
                                                       QStringLiteral("/org/freedesktop/Notifications"),
                                                       QLatin1String(serviceName), QStringLiteral("Notify"));
    call << QStringLiteral("Halcy") << quint32(0) << QStringLiteral("edit-paste") << summary << body
         << QStringList() << QVariantMap{{QStringLiteral("desktop-entry"), QStringLiteral("halcy")}}
         << qint32(expireTimeoutMs);
    const bool sent = m_connection.send(call);
    if (!sent)
        qCWarning(lcPlatform) << "could not send a desktop notification:"
                              << m_connection.lastError().message();
    return sent;
}
