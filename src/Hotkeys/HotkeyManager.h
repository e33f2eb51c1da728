#pragma once

#include "Hotkeys/KeyboardShortcutDescriptor.h"

#include <QList>
#include <QMap>
#include <QObject>
#include <QString>

#include <memory>

class HotkeyRegistrar;

// Registers the fixed shortcut table with the desktop and reports which action was pressed. A shortcut
// that cannot be registered is left out quietly; the others still work.
class HotkeyManager final : public QObject
{
    Q_OBJECT
public:
    // Without a registrar, the one for the running platform is used.
    explicit HotkeyManager(QList<KeyboardShortcutDescriptor> shortcuts,
                           std::unique_ptr<HotkeyRegistrar> registrar = nullptr, QObject *parent = nullptr);
    ~HotkeyManager() override;

    // Registers the whole table again. Ids are the 1-based positions in the table, so a shortcut left
    // out leaves a gap.
    void start();
    // Releases every registered shortcut.
    void unregisterAll();
    // Announces the action of the shortcut registered under `hotKeyID`, if any.
    void handle(quint32 hotKeyID);

    const QList<KeyboardShortcutDescriptor> &shortcuts() const { return m_shortcuts; }
    // Numeric id → action identifier of every shortcut registered now.
    QMap<quint32, QString> actionIDs() const { return m_actionIDs; }
    int registrationCount() const { return m_registrationCount; }
    // Whether this desktop has global shortcuts at all.
    bool isAvailable() const;

signals:
    // The action identifier of the table row, e.g. "clipboard.open".
    void activated(const QString &actionID);

private:
    QList<KeyboardShortcutDescriptor> m_shortcuts;
    std::unique_ptr<HotkeyRegistrar> m_registrar;
    QMap<quint32, QString> m_actionIDs;
    int m_registrationCount = 0;
};
