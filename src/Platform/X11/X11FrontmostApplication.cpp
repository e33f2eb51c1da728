#include "Platform/X11/X11FrontmostApplication.h"
#include "Platform/X11/X11Connection.h"

#include "Core/Logging.h"

#include <QDirIterator>
#include <QFile>
#include <QFileInfo>
#include <QGuiApplication>
#include <QLocale>
#include <QSet>
#include <QWindow>

#include <QStandardPaths>
#include <algorithm>

#include <xcb/xcb.h>

#include <cstdlib>

namespace {

// Desktop entry values escape \s, \n, \t, \r and \\.
QString unescapeValue(const QString &value)
{
    QString result;
    result.reserve(value.size());
    for (qsizetype i = 0; i < value.size(); ++i) {
        const QChar c = value.at(i);
        if (c != QLatin1Char('\\') || i + 1 == value.size()) {
            result.append(c);
            continue;
        }
        const QChar next = value.at(++i);
        switch (next.unicode()) {
        case 's':
            result.append(QLatin1Char(' '));
            break;
        case 'n':
            result.append(QLatin1Char('\n'));
            break;
        case 't':
            result.append(QLatin1Char('\t'));
            break;
        case 'r':
            result.append(QLatin1Char('\r'));
            break;
        default:
            result.append(next);
            break;
        }
    }
    return result;
}

} // namespace

X11FrontmostApplication::X11FrontmostApplication() = default;
X11FrontmostApplication::~X11FrontmostApplication() = default;

QString X11FrontmostApplication::name() const
{
    const std::optional<WindowClass> windowClass = activeWindowClass();
    return windowClass ? nameForWindowClass(*windowClass) : QString();
}

std::optional<WindowClass> X11FrontmostApplication::activeWindowClass() const
{
    xcb_connection_t *connection = X11Connection::connection();
    if (!connection || xcb_connection_has_error(connection))
        return std::nullopt;
    if (m_activeWindowAtom == XCB_ATOM_NONE)
        m_activeWindowAtom = X11Connection::internAtom(connection, "_NET_ACTIVE_WINDOW");
    if (m_activeWindowAtom == XCB_ATOM_NONE)
        return std::nullopt;

    const std::vector<uint32_t> activeWindows = X11Connection::property32(
        connection, X11Connection::rootWindow(connection), m_activeWindowAtom, XCB_ATOM_WINDOW, 1);
    const xcb_window_t active = activeWindows.empty() ? XCB_WINDOW_NONE : activeWindows.front();
    if (active == XCB_WINDOW_NONE)
        return std::nullopt;
    // Our own windows (the hub) are never the application the user works in: answer the one that was
    // active before them.
    const QWindowList ours = QGuiApplication::allWindows();
    if (std::any_of(ours.cbegin(), ours.cend(), [active](const QWindow *window) {
            return window->handle() && window->winId() == active;
        }))
        return m_lastForeignClass;

    // The window may be gone by now; the error then comes back instead of a reply.
    xcb_generic_error_t *error = nullptr;
    xcb_get_property_reply_t *reply = xcb_get_property_reply(
        connection, xcb_get_property(connection, 0, active, XCB_ATOM_WM_CLASS, XCB_ATOM_STRING, 0, 256),
        &error);
    std::free(error);
    if (!reply)
        return std::nullopt;
    const int length = xcb_get_property_value_length(reply);
    const QByteArray raw(static_cast<const char *>(xcb_get_property_value(reply)), length);
    std::free(reply);

    // "instance\0class\0"
    const QList<QByteArray> parts = raw.split('\0');
    WindowClass result;
    result.instance = parts.value(0).isEmpty() ? QString() : QString::fromUtf8(parts.value(0));
    result.className = parts.value(1).isEmpty() ? QString() : QString::fromUtf8(parts.value(1));
    if (result.instance.isEmpty() && result.className.isEmpty())
        return std::nullopt;
    m_lastForeignClass = result;
    return result;
}

QString X11FrontmostApplication::nameForWindowClass(const WindowClass &windowClass) const
{
    const QString key = windowClass.instance + QLatin1Char('\n') + windowClass.className;
    const auto cached = m_nameCache.constFind(key);
    if (cached != m_nameCache.constEnd())
        return cached.value();

    QString name = desktopEntryName(windowClass);
    if (name.isEmpty())
        name = windowClass.className.isEmpty() ? windowClass.instance : windowClass.className;
    m_nameCache.insert(key, name);
    return name;
}

QString X11FrontmostApplication::desktopEntryName(const WindowClass &windowClass) const
{
    buildIndex();
    const QString candidates[] = {windowClass.className.toLower(), windowClass.instance.toLower()};
    for (const QString &candidate : candidates) {
        if (!candidate.isEmpty() && m_byWMClass.contains(candidate))
            return m_byWMClass.value(candidate);
    }
    for (const QString &candidate : candidates) {
        if (!candidate.isEmpty() && m_byFileId.contains(candidate))
            return m_byFileId.value(candidate);
    }
    return QString();
}

void X11FrontmostApplication::buildIndex() const
{
    if (m_indexBuilt)
        return;
    m_indexBuilt = true;

    // Earlier directories override later ones, so the first entry seen for a key wins.
    const QStringList dirs = QStandardPaths::standardLocations(QStandardPaths::ApplicationsLocation);
    QSet<QString> seenIds;
    int files = 0;
    for (const QString &dir : dirs) {
        QDirIterator it(dir, {QStringLiteral("*.desktop")}, QDir::Files, QDirIterator::Subdirectories);
        while (it.hasNext()) {
            const QString path = it.next();
            // The desktop file id: the path below the applications directory, '/' turned into '-'.
            const QString id =
                path.mid(dir.size() + 1).chopped(8).replace(QLatin1Char('/'), QLatin1Char('-'));
            if (seenIds.contains(id))
                continue;
            seenIds.insert(id);
            ++files;
            const std::optional<DesktopEntry> entry = readDesktopEntry(path);
            if (!entry || entry->hidden || entry->name.isEmpty())
                continue;
            if (!entry->startupWMClass.isEmpty() && !m_byWMClass.contains(entry->startupWMClass.toLower()))
                m_byWMClass.insert(entry->startupWMClass.toLower(), entry->name);
            const QString lowerId = id.toLower();
            if (!m_byFileId.contains(lowerId))
                m_byFileId.insert(lowerId, entry->name);
            // Reverse-domain ids (org.example.Editor) are matched by their last part as well.
            const qsizetype dot = lowerId.lastIndexOf(QLatin1Char('.'));
            if (dot >= 0 && !m_byFileId.contains(lowerId.mid(dot + 1)))
                m_byFileId.insert(lowerId.mid(dot + 1), entry->name);
        }
    }
    qCDebug(lcPlatform) << "indexed" << files << "desktop entries in" << dirs;
}

std::optional<X11FrontmostApplication::DesktopEntry>
X11FrontmostApplication::readDesktopEntry(const QString &path)
{
    QFile file(path);
    if (!file.open(QIODevice::ReadOnly | QIODevice::Text))
        return std::nullopt;

    const QString locale = QLocale().name();                         // de_DE
    const QString language = locale.section(QLatin1Char('_'), 0, 0); // de
    const QString localeKey = QStringLiteral("Name[%1]").arg(locale);
    const QString languageKey = QStringLiteral("Name[%1]").arg(language);

    DesktopEntry entry;
    QString localeName;
    QString languageName;
    bool inMainGroup = false;
    while (!file.atEnd()) {
        const QString line = QString::fromUtf8(file.readLine()).trimmed();
        if (line.isEmpty() || line.startsWith(QLatin1Char('#')))
            continue;
        if (line.startsWith(QLatin1Char('['))) {
            if (inMainGroup)
                break; // Actions and other groups follow the main one.
            inMainGroup = line == QLatin1String("[Desktop Entry]");
            continue;
        }
        if (!inMainGroup)
            continue;
        const qsizetype equals = line.indexOf(QLatin1Char('='));
        if (equals <= 0)
            continue;
        const QString key = line.left(equals).trimmed();
        const QString value = unescapeValue(line.mid(equals + 1).trimmed());
        if (key == QLatin1String("Name"))
            entry.name = value;
        else if (key == localeKey)
            localeName = value;
        else if (key == languageKey)
            languageName = value;
        else if (key == QLatin1String("StartupWMClass"))
            entry.startupWMClass = value;
        else if (key == QLatin1String("Hidden"))
            entry.hidden = value == QLatin1String("true");
    }
    if (!localeName.isEmpty())
        entry.name = localeName;
    else if (!languageName.isEmpty())
        entry.name = languageName;
    return entry;
}
