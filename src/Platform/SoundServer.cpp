#include "Platform/SoundServer.h"

#include <QDir>
#include <QFileInfo>

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

} // namespace SoundServer
