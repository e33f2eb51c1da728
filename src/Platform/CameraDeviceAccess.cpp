#include "Platform/CameraDeviceAccess.h"

#include <QDir>
#include <QFile>
#include <QRegularExpression>

#include <cerrno>
#include <fcntl.h>
#include <unistd.h>

namespace CameraDeviceAccess {

DeviceAccess access(const QString &deviceDirectory)
{
    static const QRegularExpression videoNode(QStringLiteral("^video[0-9]+$"));
    const QStringList nodes =
        QDir(deviceDirectory).entryList(QDir::System | QDir::Files | QDir::Dirs | QDir::NoDotAndDotDot);
    bool found = false;
    bool refused = false;
    for (const QString &node : nodes) {
        if (!videoNode.match(node).hasMatch())
            continue;
        found = true;
        // Non-blocking and closed at once: only whether the kernel lets us in matters.
        const int fd = ::open(QFile::encodeName(deviceDirectory + u'/' + node).constData(),
                              O_RDWR | O_NONBLOCK | O_CLOEXEC);
        if (fd >= 0) {
            ::close(fd);
            return DeviceAccess::open;
        }
        if (errno == EBUSY)
            return DeviceAccess::open;
        refused = refused || errno == EACCES || errno == EPERM;
    }
    if (!found)
        return DeviceAccess::none;
    return refused ? DeviceAccess::refused : DeviceAccess::unexpected;
}

} // namespace CameraDeviceAccess
