#pragma once

#include <QColor>
#include <QObject>
#include <QString>
#include <QVariant>

#include "App/RawValue.h"

#include <memory>
#include <optional>

class QSettings;

// The preferences file: a JSON object whose keys are "Halcy.<field>", read and written through
// QSettings with a JSON format so that Booleans, strings and number arrays keep their types.
// A file that cannot be read is moved aside and the app runs on defaults; nothing is written until a
// value is set.
class Preferences final : public QObject
{
    Q_OBJECT
public:
    // $XDG_CONFIG_HOME/Halcy/settings.json
    static QString defaultPath();
    static QString key(const char *field) { return QStringLiteral("Halcy.") + QLatin1String(field); }

    explicit Preferences(const QString &filePath = defaultPath(), QObject *parent = nullptr);
    ~Preferences() override;

    QString filePath() const { return m_filePath; }
    // Where an unreadable file was moved at start; empty when there was none.
    QString setAsidePath() const { return m_setAsidePath; }

    bool contains(const QString &key) const;
    QVariant value(const QString &key) const;

    // Only a stored Boolean counts; anything else is the default.
    bool strictBool(const QString &key, bool defaultValue) const;
    // The lenient reading of a flag: a missing key is false; numbers and "true"/"yes" strings count.
    bool plainBool(const QString &key) const;
    // Exact case names only.
    template <typename E> E enumValue(const QString &key, E defaultValue) const
    {
        const QVariant stored = value(key);
        if (stored.typeId() != QMetaType::QString)
            return defaultValue;
        return enumFromRawValue<E>(stored.toString()).value_or(defaultValue);
    }
    // Exactly four numbers: red, green, blue, alpha in sRGB.
    QColor colorValue(const QString &key, const QColor &defaultValue) const;

    void setBool(const QString &key, bool value);
    void setString(const QString &key, const QString &value);
    template <typename E> void setEnum(const QString &key, E value) { setString(key, rawValue(value)); }
    void setColor(const QString &key, const QColor &value);

private:
    void write(const QString &key, const QVariant &value);

    QString m_filePath;
    QString m_setAsidePath;
    std::unique_ptr<QSettings> m_settings;
};
