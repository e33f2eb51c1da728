#include "App/InstanceChannel.h"

#include "Core/Logging.h"

#include <QDir>
#include <QLocalServer>
#include <QLocalSocket>
#include <QLockFile>
#include <QStandardPaths>

#include <unistd.h>

namespace {

QString socketPath(const QString &directory)
{
    return directory + QStringLiteral("/halcy.socket");
}

QString lockPath(const QString &directory)
{
    return directory + QStringLiteral("/halcy.lock");
}

} // namespace

QStringList InstanceChannel::verbs()
{
    return {QStringLiteral("show"), QStringLiteral("toggle-mirror"), QStringLiteral("toggle-desktop"),
            QStringLiteral("settings"), QStringLiteral("quit")};
}

QString InstanceChannel::runtimeDirectory()
{
    // Without XDG_RUNTIME_DIR (a bare shell), fall back quietly rather than let Qt warn on every call.
    if (qEnvironmentVariableIsEmpty("XDG_RUNTIME_DIR"))
        return QDir::tempPath() + QStringLiteral("/halcy-") + QString::number(::getuid());
    return QStandardPaths::writableLocation(QStandardPaths::RuntimeLocation) + QStringLiteral("/Halcy");
}

InstanceChannel::InstanceChannel(const QString &directory, QObject *parent)
    : QObject(parent), m_directory(directory)
{
}

InstanceChannel::~InstanceChannel()
{
    if (m_server)
        m_server->close();
}

bool InstanceChannel::claim()
{
    QDir().mkpath(m_directory);
    QFile::setPermissions(m_directory,
                          QFileDevice::ReadOwner | QFileDevice::WriteOwner | QFileDevice::ExeOwner);
    m_lock = std::make_unique<QLockFile>(lockPath(m_directory));
    // A lock left by a crashed instance is taken over once its process is gone.
    m_lock->setStaleLockTime(0);
    if (m_lock->tryLock(0))
        return true;
    m_lock.reset();
    return false;
}

bool InstanceChannel::listen(QString *error)
{
    Q_ASSERT(m_lock);
    QLocalServer::removeServer(socketPath(m_directory));
    m_server = std::make_unique<QLocalServer>();
    m_server->setSocketOptions(QLocalServer::UserAccessOption);
    if (!m_server->listen(socketPath(m_directory))) {
        if (error)
            *error = m_server->errorString();
        qCWarning(lcApp) << "Command channel unavailable:" << m_server->errorString();
        return false;
    }
    connect(m_server.get(), &QLocalServer::newConnection, this, &InstanceChannel::acceptConnection);
    return true;
}

void InstanceChannel::acceptConnection()
{
    while (QLocalSocket *socket = m_server->nextPendingConnection()) {
        connect(socket, &QLocalSocket::disconnected, socket, &QObject::deleteLater);
        connect(socket, &QLocalSocket::readyRead, this, [this, socket] {
            if (!socket->canReadLine())
                return;
            const QString verb = QString::fromUtf8(socket->readLine()).trimmed();
            const bool known = verbs().contains(verb);
            socket->write(known ? "ok\n" : "unknown\n");
            socket->flush();
            socket->disconnectFromServer();
            if (known)
                emit verbReceived(verb);
        });
    }
}

InstanceChannel::SendResult InstanceChannel::send(const QString &verb, const QString &directory,
                                                  int timeoutMs)
{
    QLocalSocket socket;
    socket.connectToServer(socketPath(directory));
    if (!socket.waitForConnected(timeoutMs))
        return SendResult::notRunning;
    socket.write(verb.toUtf8() + '\n');
    if (!socket.waitForBytesWritten(timeoutMs))
        return SendResult::noAnswer;
    while (!socket.canReadLine()) {
        if (!socket.waitForReadyRead(timeoutMs))
            return SendResult::noAnswer;
    }
    return socket.readLine().trimmed() == "ok" ? SendResult::delivered : SendResult::rejected;
}
