#pragma once

#include "Hotkeys/Modifier.h"

#include <QList>
#include <QMetaType>
#include <QString>

// One global shortcut of the fixed table: the action it triggers, its name in settings, the key as
// typed on a US layout (lower case) and its modifiers in the order the table lists them.
struct KeyboardShortcutDescriptor
{
    QString id;
    QString title;
    QString key;
    QList<Modifier> modifiers;

    // The three shortcuts, in the order that fixes their numeric hot-key ids (1, 2, 3).
    static QList<KeyboardShortcutDescriptor> defaultTable();

    // The modifiers as Qt names them; command is Meta, the Super key on Linux.
    Qt::KeyboardModifiers qtModifiers() const;
    // As Linux desktops write shortcuts: "Super+Shift+V", "Ctrl+Super+M".
    QString displayForm() const;
    // Symbols in the fixed order control, option, shift, command, then the key in upper case: "⇧⌘V".
    QString macDisplayForm() const;

    friend bool operator==(const KeyboardShortcutDescriptor &a, const KeyboardShortcutDescriptor &b)
    {
        return a.id == b.id && a.title == b.title && a.key == b.key && a.modifiers == b.modifiers;
    }
    friend bool operator!=(const KeyboardShortcutDescriptor &a, const KeyboardShortcutDescriptor &b)
    {
        return !(a == b);
    }
};

Q_DECLARE_METATYPE(KeyboardShortcutDescriptor)
