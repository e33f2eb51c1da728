#pragma once

#include <QObject>
#include <QString>
#include <QVariant>

#include <memory>

class QSettings;
struct PreferenceRow;

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

    explicit Preferences(const QString &filePath = defaultPath(), QObject *parent = nullptr);
    ~Preferences() override;

    QString filePath() const { return m_filePath; }
    // Where an unreadable file was moved at start; empty when there was none.
    QString setAsidePath() const { return m_setAsidePath; }

    // The row's value as stored, or its default when the key is missing or breaks the row's rule.
    QVariant read(const PreferenceRow &row) const;
    // Writes at once; false (and nothing written) for a value the row cannot store.
    bool write(const PreferenceRow &row, const QVariant &value);
    // Drops the key: the row reads as its default again.
    void remove(const PreferenceRow &row);

private:
    QString m_filePath;
    QString m_setAsidePath;
    std::unique_ptr<QSettings> m_settings;
};
