#include "Platform/Wallpaper.h"

#include "Core/Logging.h"
#include "Platform/X11/X11Wallpaper.h"

#include <QDir>
#include <QFile>
#include <QGuiApplication>
#include <QImageReader>
#include <QProcess>
#include <QStandardPaths>
#include <QTextStream>
#include <QUrl>

#include <optional>

namespace {

// A settings tool that hangs must not keep the covers waiting for their picture for long.
constexpr int toolTimeoutMs = 1500;

std::optional<QString> toolOutput(const QString &program, const QStringList &arguments)
{
    if (QStandardPaths::findExecutable(program).isEmpty())
        return std::nullopt;
    QProcess process;
    process.start(program, arguments);
    if (!process.waitForFinished(toolTimeoutMs)) {
        process.kill();
        process.waitForFinished(toolTimeoutMs);
        return std::nullopt;
    }
    if (process.exitStatus() != QProcess::NormalExit || process.exitCode() != 0)
        return std::nullopt;
    return QString::fromUtf8(process.readAllStandardOutput()).trimmed();
}

// Settings values come as GVariant text ('file:///…') or as plain paths and URIs.
QString localPath(QString value)
{
    if (value.size() >= 2 && value.startsWith(QLatin1Char('\'')) && value.endsWith(QLatin1Char('\'')))
        value = value.mid(1, value.size() - 2);
    if (value.startsWith(QLatin1String("file:")))
        return QUrl(value).toLocalFile();
    return value.startsWith(QLatin1Char('/')) ? value : QString();
}

QString gsettingsPicture(const QStringList &desktops)
{
    struct Source
    {
        const char *desktop;
        const char *schema;
        const char *key;
    };
    static const Source sources[] = {
        {"GNOME", "org.gnome.desktop.background", "picture-uri"},
        {"Unity", "org.gnome.desktop.background", "picture-uri"},
        {"Budgie", "org.gnome.desktop.background", "picture-uri"},
        {"Pantheon", "org.gnome.desktop.background", "picture-uri"},
        {"X-Cinnamon", "org.cinnamon.desktop.background", "picture-uri"},
        {"MATE", "org.mate.background", "picture-filename"},
    };
    for (const Source &source : sources) {
        if (!desktops.contains(QLatin1String(source.desktop), Qt::CaseInsensitive))
            continue;
        const std::optional<QString> value =
            toolOutput(QStringLiteral("gsettings"),
                       {QStringLiteral("get"), QLatin1String(source.schema), QLatin1String(source.key)});
        if (value)
            return localPath(*value);
    }
    return QString();
}

QString plasmaPicture()
{
    QFile file(QDir(QStandardPaths::writableLocation(QStandardPaths::GenericConfigLocation))
                   .filePath(QStringLiteral("plasma-org.kde.plasma.desktop-appletsrc")));
    if (!file.open(QIODevice::ReadOnly | QIODevice::Text))
        return QString();
    QTextStream in(&file);
    bool inImageGroup = false;
    while (!in.atEnd()) {
        const QString line = in.readLine().trimmed();
        if (line.startsWith(QLatin1Char('[')))
            inImageGroup = line.contains(QLatin1String("[Wallpaper][org.kde.image]"));
        else if (inImageGroup && line.startsWith(QLatin1String("Image=")))
            return localPath(line.mid(6));
    }
    return QString();
}

QString xfcePicture()
{
    const std::optional<QString> properties =
        toolOutput(QStringLiteral("xfconf-query"),
                   {QStringLiteral("-c"), QStringLiteral("xfce4-desktop"), QStringLiteral("-l")});
    if (!properties)
        return QString();
    for (const QString &property : properties->split(QLatin1Char('\n'))) {
        if (!property.endsWith(QLatin1String("/last-image")))
            continue;
        const std::optional<QString> value =
            toolOutput(QStringLiteral("xfconf-query"), {QStringLiteral("-c"), QStringLiteral("xfce4-desktop"),
                                                        QStringLiteral("-p"), property.trimmed()});
        if (value && !localPath(*value).isEmpty())
            return localPath(*value);
    }
    return QString();
}

} // namespace

std::shared_ptr<Wallpaper> Wallpaper::createDefault()
{
    if (QGuiApplication::platformName() == QLatin1String("xcb"))
        return std::make_shared<X11Wallpaper>();
    return std::make_shared<Wallpaper>();
}

WallpaperPicture Wallpaper::read() const
{
    const QString path = namedPicturePath();
    if (path.isEmpty())
        return {};
    QImageReader reader(path);
    reader.setAutoTransform(true);
    WallpaperPicture picture;
    picture.image = reader.read();
    if (picture.image.isNull())
        qCDebug(lcDesktop) << "Wallpaper" << path << "unreadable:" << reader.errorString();
    return picture;
}

QString Wallpaper::namedPicturePath()
{
    const QStringList desktops =
        qEnvironmentVariable("XDG_CURRENT_DESKTOP").split(QLatin1Char(':'), Qt::SkipEmptyParts);
    if (desktops.contains(QLatin1String("KDE"), Qt::CaseInsensitive))
        return plasmaPicture();
    if (desktops.contains(QLatin1String("XFCE"), Qt::CaseInsensitive))
        return xfcePicture();
    return gsettingsPicture(desktops);
}
