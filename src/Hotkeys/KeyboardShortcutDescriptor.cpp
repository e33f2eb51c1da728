#include "Hotkeys/KeyboardShortcutDescriptor.h"

#include "Hotkeys/ShortcutKeys.h"

#include <QKeySequence>

QList<KeyboardShortcutDescriptor> KeyboardShortcutDescriptor::defaultTable()
{
    return {
        {QStringLiteral("clipboard.open"),
         QStringLiteral("Open clipboard"),
         QStringLiteral("v"),
         {Modifier::command, Modifier::shift}},
        {QStringLiteral("mirror.toggle"),
         QStringLiteral("Toggle Mirror"),
         QStringLiteral("m"),
         {Modifier::control, Modifier::command}},
        {QStringLiteral("desktop.toggle"),
         QStringLiteral("Toggle Hide Desktop"),
         QStringLiteral("d"),
         {Modifier::control, Modifier::command}},
    };
}

Qt::KeyboardModifiers KeyboardShortcutDescriptor::qtModifiers() const
{
    Qt::KeyboardModifiers result;
    for (const Modifier modifier : modifiers) {
        switch (modifier) {
        case Modifier::command:
            result |= Qt::MetaModifier;
            break;
        case Modifier::shift:
            result |= Qt::ShiftModifier;
            break;
        case Modifier::control:
            result |= Qt::ControlModifier;
            break;
        case Modifier::option:
            result |= Qt::AltModifier;
            break;
        }
    }
    return result;
}

QString KeyboardShortcutDescriptor::displayForm() const
{
    // As Linux desktops write shortcuts: "Super", not Qt's "Meta", and Ctrl before Super before Shift.
    QString text;
    const std::pair<Modifier, const char *> order[] = {{Modifier::control, "Ctrl+"},
                                                       {Modifier::option, "Alt+"},
                                                       {Modifier::command, "Super+"},
                                                       {Modifier::shift, "Shift+"}};
    for (const auto &[modifier, name] : order) {
        if (modifiers.contains(modifier))
            text += QLatin1String(name);
    }
    if (const std::optional<Qt::Key> qtKey = ShortcutKeys::keyFor(key))
        return text + QKeySequence(*qtKey).toString(QKeySequence::NativeText);
    // A key the table does not know still gets a readable label.
    return text + key.toUpper();
}

QString KeyboardShortcutDescriptor::macDisplayForm() const
{
    QString text;
    for (const Modifier modifier :
         {Modifier::control, Modifier::option, Modifier::shift, Modifier::command}) {
        if (modifiers.contains(modifier))
            text += modifierSymbol(modifier);
    }
    return text + key.toUpper();
}
