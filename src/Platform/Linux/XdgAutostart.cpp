#include "Platform/Linux/XdgAutostart.h"

#include <QDir>
#include <QFile>
#include <QFileInfo>
#include <QSaveFile>
#include <QStandardPaths>

namespace {

// Exec quoting of the desktop entry format: double quotes around the path, with ", `, $ and \ escaped.
QString quotedExec(const QString &program)
{
    QString escaped;
    for (const QChar c : program) {
        if (c == u'"' || c == u'`' || c == u'$' || c == u'\\')
            escaped += u'\\';
        escaped += c;
    }
    // A backslash in a desktop entry's string value is itself escaped once more.
    escaped.replace(QStringLiteral("\\"), QStringLiteral("\\\\"));
    return u'"' + escaped + u'"';
}

} // namespace

QString XdgAutostart::defaultPath()
{
    return QStandardPaths::writableLocation(QStandardPaths::GenericConfigLocation) +
           QStringLiteral("/autostart/halcy.desktop");
}

XdgAutostart::XdgAutostart(const QString &entryPath, const QString &program)
    : m_entryPath(entryPath), m_program(program)
{
}

QByteArray XdgAutostart::entry(const QString &program)
{
    return QStringLiteral("[Desktop Entry]\n"
                          "Type=Application\n"
                          "Name=Halcy\n"
                          "Comment=Clipboard history, camera mirror and Hide Desktop from the tray\n"
                          "Exec=%1\n"
                          "Icon=halcy\n"
                          "Terminal=false\n"
                          "X-GNOME-Autostart-enabled=true\n")
        .arg(quotedExec(program))
        .toUtf8();
}

bool XdgAutostart::isEnabled() const
{
    // A copy someone switched off with Hidden=true does not start anything.
    QFile file(m_entryPath);
    if (!file.open(QIODevice::ReadOnly))
        return false;
    return !file.readAll().contains("\nHidden=true");
}

bool XdgAutostart::setEnabled(bool enabled, QString *error)
{
    if (!enabled) {
        if (!QFile::exists(m_entryPath) || QFile::remove(m_entryPath))
            return true;
        if (error)
            *error = QStringLiteral("Could not remove %1.").arg(m_entryPath);
        return false;
    }
    QDir().mkpath(QFileInfo(m_entryPath).absolutePath());
    QSaveFile file(m_entryPath);
    if (file.open(QIODevice::WriteOnly) && file.write(entry(m_program)) >= 0 && file.commit())
        return true;
    if (error)
        *error = QStringLiteral("Could not write %1: %2").arg(m_entryPath, file.errorString());
    return false;
}
