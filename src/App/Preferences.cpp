#include "App/Preferences.h"

#include "App/Logging.h"

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
    static const QSettings::Format format = QSettings::registerFormat(QStringLiteral("json"), readJson, writeJson);
    return format;
}

bool isNumber(const QVariant &value)
{
    switch (value.typeId()) {
    case QMetaType::Double:
    case QMetaType::Float:
    case QMetaType::Int:
    case QMetaType::LongLong:
    case QMetaType::UInt:
    case QMetaType::ULongLong:
        return true;
    default:
        return false;
    }
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

bool Preferences::contains(const QString &key) const
{
    return m_settings->contains(key);
}

QVariant Preferences::value(const QString &key) const
{
    return m_settings->value(key);
}

bool Preferences::strictBool(const QString &key, bool defaultValue) const
{
    const QVariant stored = value(key);
    return stored.typeId() == QMetaType::Bool ? stored.toBool() : defaultValue;
}

bool Preferences::plainBool(const QString &key) const
{
    const QVariant stored = value(key);
    if (stored.typeId() == QMetaType::Bool)
        return stored.toBool();
    if (isNumber(stored))
        return stored.toDouble() != 0.0;
    if (stored.typeId() == QMetaType::QString) {
        const QString text = stored.toString().trimmed().toLower();
        return text == QLatin1String("true") || text == QLatin1String("yes") ||
               (!text.isEmpty() && text.toDouble() != 0.0);
    }
    return false;
}

QColor Preferences::colorValue(const QString &key, const QColor &defaultValue) const
{
    const QVariant stored = value(key);
    if (stored.typeId() != QMetaType::QVariantList)
        return defaultValue;
    const QVariantList components = stored.toList();
    if (components.size() != 4)
        return defaultValue;
    float rgba[4];
    for (int i = 0; i < 4; ++i) {
        if (!isNumber(components.at(i)))
            return defaultValue;
        rgba[i] = static_cast<float>(qBound(0.0, components.at(i).toDouble(), 1.0));
    }
    return QColor::fromRgbF(rgba[0], rgba[1], rgba[2], rgba[3]);
}

void Preferences::setBool(const QString &key, bool value)
{
    write(key, value);
}

void Preferences::setString(const QString &key, const QString &value)
{
    write(key, value);
}

void Preferences::setColor(const QString &key, const QColor &value)
{
    const QColor rgb = value.toRgb().isValid() ? value.toRgb() : value;
    write(key, QVariantList{double(rgb.redF()), double(rgb.greenF()), double(rgb.blueF()), double(rgb.alphaF())});
}

void Preferences::write(const QString &key, const QVariant &value)
{
    QDir().mkpath(QFileInfo(m_filePath).absolutePath());
    m_settings->setValue(key, value);
    m_settings->sync();
    if (m_settings->status() != QSettings::NoError)
        qCWarning(lcPreferences) << "Could not write" << key << "to" << m_filePath;
}
