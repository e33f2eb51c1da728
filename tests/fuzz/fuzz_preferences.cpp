// A preferences file as found on disk, read through every kind of row.
#include "App/PreferenceRow.h"
#include "App/Preferences.h"
#include "Clipboard/PasteMode.h"

#include <QFile>
#include <QLoggingCategory>
#include <QTemporaryDir>

extern "C" int LLVMFuzzerInitialize(int *, char ***)
{
    // Every unreadable file is reported; a million lines of that would hide a real finding.
    QLoggingCategory::setFilterRules(QStringLiteral("halcy.preferences.warning=false"));
    return 0;
}

extern "C" int LLVMFuzzerTestOneInput(const uint8_t *data, size_t size)
{
    // A new name each time: QSettings caches a file it has read by name, size and time.
    static const QTemporaryDir dir;
    static int count = 0;
    const QString path = dir.filePath(QString::number(++count));
    QFile file(path);
    if (!file.open(QIODevice::WriteOnly | QIODevice::Truncate))
        return 0;
    file.write(reinterpret_cast<const char *>(data), qint64(size));
    file.close();
    const PreferenceRow rows[] = {
        PreferenceRow::flag("clipboardEnabled", true),
        PreferenceRow::lenientFlag("clipboardPaused", false),
        PreferenceRow::color("desktopSolidColor", Qt::black),
        PreferenceRow::text("note"),
        PreferenceRow::rect("frame"),
        PreferenceRow::choice("defaultPasteMode", PasteMode::formatted),
    };
    const Preferences preferences(path);
    for (const PreferenceRow &row : rows) {
        if (preferences.read(row).metaType() != row.defaultValue.metaType())
            std::abort();
    }
    QFile::remove(path);
    if (!preferences.setAsidePath().isEmpty())
        QFile::remove(preferences.setAsidePath());
    return 0;
}
