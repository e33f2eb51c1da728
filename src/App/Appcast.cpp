#include "App/Appcast.h"

#include <QList>
#include <QXmlStreamReader>

namespace {

// One run of digits, or one run of anything else, so "1.0b2" reads 1 . 0 b 2.
QStringList versionParts(const QString &version)
{
    QStringList parts;
    QString current;
    const auto flush = [&] {
        if (!current.isEmpty())
            parts << current;
        current.clear();
    };
    for (const QChar c : version) {
        if (c == u'.' || c == u'-' || c == u'+' || c.isSpace()) {
            flush();
            continue;
        }
        if (!current.isEmpty() && current.back().isDigit() != c.isDigit())
            flush();
        current += c;
    }
    flush();
    return parts;
}

bool isNumber(const QString &part)
{
    return !part.isEmpty() && part.front().isDigit();
}

QString sparkleAttribute(const QXmlStreamAttributes &attributes, QLatin1String name)
{
    for (const QXmlStreamAttribute &attribute : attributes) {
        if (attribute.name() == name && !attribute.prefix().isEmpty())
            return attribute.value().toString().trimmed();
    }
    return {};
}

} // namespace

namespace Appcast {

int compareVersions(const QString &left, const QString &right)
{
    const QStringList a = versionParts(left);
    const QStringList b = versionParts(right);
    for (int i = 0; i < std::max(a.size(), b.size()); ++i) {
        const QString x = a.value(i);
        const QString y = b.value(i);
        // A missing part counts as 0 against a number ("2" = "2.0") and as the release against a word
        // ("1.0" after "1.0b2").
        if (x.isEmpty() || y.isEmpty()) {
            const QString &present = x.isEmpty() ? y : x;
            const int sign = x.isEmpty() ? -1 : 1;
            if (!isNumber(present))
                return -sign;
            if (present.toULongLong() != 0)
                return sign;
            continue;
        }
        if (isNumber(x) && isNumber(y)) {
            const qulonglong nx = x.toULongLong();
            const qulonglong ny = y.toULongLong();
            if (nx != ny)
                return nx < ny ? -1 : 1;
        } else if (isNumber(x) != isNumber(y)) {
            return isNumber(x) ? 1 : -1;
        } else if (const int c = x.compare(y, Qt::CaseInsensitive); c != 0) {
            return c < 0 ? -1 : 1;
        }
    }
    return 0;
}

std::optional<AppcastRelease> newestRelease(const QByteArray &feed)
{
    QXmlStreamReader xml(feed);
    std::optional<AppcastRelease> newest;
    bool sawRss = false;
    bool inItem = false;
    AppcastRelease item;
    QUrl enclosure;

    while (!xml.atEnd()) {
        const QXmlStreamReader::TokenType token = xml.readNext();
        if (token == QXmlStreamReader::StartElement) {
            const auto name = xml.name();
            if (!sawRss) {
                if (name != QLatin1String("rss"))
                    return std::nullopt;
                sawRss = true;
            } else if (name == QLatin1String("item")) {
                inItem = true;
                item = {};
                enclosure.clear();
            } else if (inItem && name == QLatin1String("enclosure")) {
                const QXmlStreamAttributes attributes = xml.attributes();
                enclosure = QUrl(attributes.value(QLatin1String("url")).toString().trimmed());
                if (item.version.isEmpty())
                    item.version = sparkleAttribute(attributes, QLatin1String("version"));
                if (item.shortVersion.isEmpty())
                    item.shortVersion = sparkleAttribute(attributes, QLatin1String("shortVersionString"));
            } else if (inItem && !xml.prefix().isEmpty() && name == QLatin1String("version")) {
                item.version = xml.readElementText().trimmed();
            } else if (inItem && !xml.prefix().isEmpty() && name == QLatin1String("shortVersionString")) {
                item.shortVersion = xml.readElementText().trimmed();
            } else if (inItem && xml.prefix().isEmpty() && name == QLatin1String("link")) {
                item.downloadURL = QUrl(xml.readElementText().trimmed());
            }
        } else if (token == QXmlStreamReader::EndElement && inItem && xml.name() == QLatin1String("item")) {
            inItem = false;
            // The page a person can read wins over the bare file.
            if (!item.downloadURL.isValid() || item.downloadURL.isEmpty())
                item.downloadURL = enclosure;
            if (item.displayVersion().isEmpty())
                continue;
            if (!newest || compareVersions(item.displayVersion(), newest->displayVersion()) > 0)
                newest = item;
        }
    }
    if (xml.hasError())
        return std::nullopt;
    return newest;
}

} // namespace Appcast
