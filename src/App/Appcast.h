#pragma once

#include <QByteArray>
#include <QString>
#include <QUrl>

#include <optional>

// The newest release an appcast feed offers: an RSS 2.0 channel whose items carry a build version and a
// short version string (as elements or on the enclosure) and a download page or file.
struct AppcastRelease
{
    QString version;
    QString shortVersion;
    QUrl downloadURL;

    // What a person reads: the short version string when the feed has one.
    QString displayVersion() const { return shortVersion.isEmpty() ? version : shortVersion; }
};

namespace Appcast {

// Empty when the bytes are not an RSS feed with at least one versioned item.
std::optional<AppcastRelease> newestRelease(const QByteArray &feed);

// Orders versions as people number them: "1.10" after "1.9", "2.0" equal to "2", "1.0b2" before "1.0".
int compareVersions(const QString &left, const QString &right);

} // namespace Appcast
