#include "Platform/Linux/LinuxPermissionProbe.h"

#include <QAudioDevice>
#include <QDir>
#include <QFile>
#include <QMediaDevices>
#include <QRegularExpression>
#include <QStandardPaths>

#include <cerrno>
#include <fcntl.h>
#include <sys/socket.h>
#include <sys/un.h>
#include <unistd.h>

namespace {

bool isDesktop(const QString &name)
{
    const QStringList desktops = qEnvironmentVariable("XDG_CURRENT_DESKTOP").split(u':', Qt::SkipEmptyParts);
    return desktops.contains(name, Qt::CaseInsensitive);
}

// The first program found on PATH, with its arguments.
QStringList firstInstalled(const QList<QStringList> &candidates)
{
    for (const QStringList &command : candidates) {
        const QString program = QStandardPaths::findExecutable(command.first());
        if (!program.isEmpty())
            return QStringList{program} + command.mid(1);
    }
    return {};
}

DeviceAccess accessFromErrno(int error)
{
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

} // namespace

LinuxPermissionProbe::LinuxPermissionProbe(const QString &deviceDirectory)
    : m_deviceDirectory(deviceDirectory)
{
    // Looked up once: each is a PATH search, and the desktop does not change under a running session.
    if (isDesktop(QStringLiteral("GNOME")) || isDesktop(QStringLiteral("Unity")) ||
        isDesktop(QStringLiteral("Budgie"))) {
        m_cameraSettings =
            firstInstalled({{QStringLiteral("gnome-control-center"), QStringLiteral("camera")}});
        m_microphoneSettings =
            firstInstalled({{QStringLiteral("gnome-control-center"), QStringLiteral("sound")}});
    } else if (isDesktop(QStringLiteral("KDE"))) {
        m_microphoneSettings =
            firstInstalled({{QStringLiteral("systemsettings"), QStringLiteral("kcm_pulseaudio")},
                            {QStringLiteral("systemsettings5"), QStringLiteral("kcm_pulseaudio")}});
    }
    if (m_microphoneSettings.isEmpty())
        m_microphoneSettings = firstInstalled({{QStringLiteral("pavucontrol"), QStringLiteral("--tab=4")}});
}

DeviceAccess LinuxPermissionProbe::cameraAccess() const
{
    static const QRegularExpression videoNode(QStringLiteral("^video[0-9]+$"));
    const QStringList nodes =
        QDir(m_deviceDirectory).entryList(QDir::System | QDir::Files | QDir::Dirs | QDir::NoDotAndDotDot);
    bool found = false;
    bool refused = false;
    for (const QString &node : nodes) {
        if (!videoNode.match(node).hasMatch())
            continue;
        found = true;
        // Non-blocking and closed at once: only whether the kernel lets us in matters.
        const int fd = ::open(QFile::encodeName(m_deviceDirectory + u'/' + node).constData(),
                              O_RDWR | O_NONBLOCK | O_CLOEXEC);
        if (fd >= 0) {
            ::close(fd);
            return DeviceAccess::open;
        }
        // A camera someone else is streaming from is still one we may use.
        if (errno == EBUSY)
            return DeviceAccess::open;
        refused = refused || accessFromErrno(errno) == DeviceAccess::refused;
    }
    if (!found)
        return DeviceAccess::none;
    return refused ? DeviceAccess::refused : DeviceAccess::unexpected;
}

QString LinuxPermissionProbe::audioServerSocketPath()
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

DeviceAccess LinuxPermissionProbe::audioServerAccess() const
{
    const QByteArray path = QFile::encodeName(audioServerSocketPath());
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
    return result == 0 ? DeviceAccess::open : accessFromErrno(error);
}

bool LinuxPermissionProbe::hasAudioInput() const
{
    return !QMediaDevices::audioInputs().isEmpty();
}

QStringList LinuxPermissionProbe::settingsCommand(SettingsPage page) const
{
    return page == SettingsPage::camera ? m_cameraSettings : m_microphoneSettings;
}
