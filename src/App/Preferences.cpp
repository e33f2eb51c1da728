#include "App/Preferences.h"

#include "App/PreferenceRow.h"
#include "Core/Logging.h"

#include <QDateTime>
#include <QDir>
#include <QFile>
#include <QFileInfo>
#include <QJsonDocument>
#include <QJsonObject>
#include <QJsonValue>
#include <QSettings>
#include <QStandardPaths>

namespace {

bool readJson(QIODevice &device, QSettings::SettingsMap &map)
{
    const QByteArray bytes = device.readAll();
    if (bytes.trimmed().isEmpty())
        return true; // an empty file is an empty domain
    QJsonParseError error{};
    const QJsonDocument document = QJsonDocument::fromJson(bytes, &error);
    if (error.error != QJsonParseError::NoError || !document.isObject())
        return false;
    const QJsonObject object = document.object();
    for (auto it = object.begin(); it != object.end(); ++it)
        map.insert(it.key(), it.value().toVariant());
    return true;
}

bool writeJson(QIODevice &device, const QSettings::SettingsMap &map)
{
    QJsonObject object;
    for (auto it = map.begin(); it != map.end(); ++it)
        object.insert(it.key(), QJsonValue::fromVariant(it.value()));
    return device.write(QJsonDocument(object).toJson(QJsonDocument::Indented)) >= 0;
}

QSettings::Format jsonFormat()
{
    static const QSettings::Format format =
        QSettings::registerFormat(QStringLiteral("json"), readJson, writeJson);
    return format;
}

} // namespace

QString Preferences::defaultPath()
{
    return QStandardPaths::writableLocation(QStandardPaths::GenericConfigLocation) +
           QStringLiteral("/Halcy/settings.json");
}

Preferences::Preferences(const QString &filePath, QObject *parent) : QObject(parent), m_filePath(filePath)
{
    m_settings = std::make_unique<QSettings>(m_filePath, jsonFormat());
    if (m_settings->status() == QSettings::NoError)
        return;

    // Keep the damaged file for the user to inspect, and run on defaults.
    m_settings.reset();
    const QString aside = m_filePath + QStringLiteral(".unreadable-") +
                          QDateTime::currentDateTime().toString(QStringLiteral("yyyyMMdd-hhmmss"));
    if (QFile::rename(m_filePath, aside)) {
        m_setAsidePath = aside;
        qCWarning(lcPreferences) << "Preferences file" << m_filePath << "could not be read; moved to" << aside
                                 << "and running on defaults";
    } else {
        qCWarning(lcPreferences) << "Preferences file" << m_filePath
                                 << "could not be read nor moved aside; running on defaults";
    }
    m_settings = std::make_unique<QSettings>(m_filePath, jsonFormat());
    if (m_settings->status() != QSettings::NoError) {
        // Still unreadable (e.g. a directory in the way): read nothing from it.
        m_settings->clear();
    }
}

Preferences::~Preferences() = default;

QVariant Preferences::read(const PreferenceRow &row) const
{
    const QVariant value = row.fromStored(m_settings->value(row.key()));
    return value.isValid() ? value : row.defaultValue;
}

void Preferences::remove(const PreferenceRow &row)
{
    if (!m_settings->contains(row.key()))
        return;
    m_settings->remove(row.key());
    m_settings->sync();
}

bool Preferences::write(const PreferenceRow &row, const QVariant &value)
{
    const QVariant stored = row.toStored(value);
    if (!stored.isValid()) {
        qCWarning(lcPreferences) << "Refused to store" << value << "as" << row.key();
        return false;
    }
    QDir().mkpath(QFileInfo(m_filePath).absolutePath());
    m_settings->setValue(row.key(), stored);
    m_settings->sync();
    if (m_settings->status() != QSettings::NoError)
        qCWarning(lcPreferences) << "Could not write" << row.key() << "to" << m_filePath;
    return true;
}
