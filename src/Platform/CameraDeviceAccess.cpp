#include "Platform/CameraDeviceAccess.h"

#include <QDir>

#include <cerrno>
#include <fcntl.h>
#include <unistd.h>

namespace CameraDeviceAccess {

bool allNodesRefused()
{
    const QStringList nodes =
        QDir(QStringLiteral("/dev")).entryList({QStringLiteral("video*")}, QDir::System);
    if (nodes.isEmpty())
        return false;
    for (const QString &node : nodes) {
        const QByteArray path = QByteArrayLiteral("/dev/") + node.toLocal8Bit();
        const int fd = ::open(path.constData(), O_RDWR | O_NONBLOCK | O_CLOEXEC);
        if (fd >= 0) {
            ::close(fd);
            return false;
        }
        // Busy or gone is not a matter of permission.
        if (errno != EACCES && errno != EPERM)
            return false;
    }
    return true;
}

} // namespace CameraDeviceAccess
