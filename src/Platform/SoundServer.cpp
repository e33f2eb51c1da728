#include "Platform/SoundServer.h"

#include <QDir>
#include <QFile>
#include <QFileInfo>

#include <cerrno>
#include <sys/socket.h>
#include <sys/un.h>
#include <unistd.h>

namespace SoundServer {

bool isReachable()
{
    if (qEnvironmentVariableIsSet("PULSE_SERVER"))
        return true;
    const QString runtime = qEnvironmentVariable("XDG_RUNTIME_DIR");
    if (runtime.isEmpty())
        return false;
    const QDir dir(runtime);
    return QFileInfo::exists(dir.filePath(QStringLiteral("pulse/native"))) ||
           QFileInfo::exists(dir.filePath(QStringLiteral("pipewire-0")));
}

QString socketPath()
{
    const QString server = qEnvironmentVariable("PULSE_SERVER").trimmed();
    if (!server.isEmpty()) {
        // A list of addresses, each maybe prefixed by "{machine id}"; the first one is tried first.
        QString first = server.split(u' ', Qt::SkipEmptyParts).first();
        if (first.startsWith(u'{'))
            first = first.mid(first.indexOf(u'}') + 1);
        if (first.startsWith(QLatin1String("unix:")))
            return first.mid(5);
        return first.startsWith(u'/') ? first : QString();
    }
    QString runtime = qEnvironmentVariable("XDG_RUNTIME_DIR");
    if (runtime.isEmpty())
        runtime = QStringLiteral("/run/user/%1").arg(::getuid());
    return runtime + QStringLiteral("/pulse/native");
}

DeviceAccess access()
{
    const QByteArray path = QFile::encodeName(socketPath());
    if (path.isEmpty())
        return DeviceAccess::open;
    sockaddr_un address{};
    if (path.size() >= static_cast<int>(sizeof(address.sun_path)))
        return DeviceAccess::unexpected;
    address.sun_family = AF_UNIX;
    std::copy(path.begin(), path.end(), address.sun_path);

    const int fd = ::socket(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC, 0);
    if (fd < 0)
        return DeviceAccess::unexpected;
    const int result = ::connect(fd, reinterpret_cast<const sockaddr *>(&address), sizeof(address));
    const int error = errno;
    ::close(fd);
    if (result == 0)
        return DeviceAccess::open;
    switch (error) {
    case EACCES:
    case EPERM:
        return DeviceAccess::refused;
    case ENOENT:
    case ECONNREFUSED:
    case ENOTSOCK:
        return DeviceAccess::none;
    default:
        return DeviceAccess::unexpected;
    }
}

} // namespace SoundServer
