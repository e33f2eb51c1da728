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
    const Qt::KeyboardModifiers qtModifiers = this->qtModifiers();
    if (const std::optional<Qt::Key> qtKey = ShortcutKeys::keyFor(key))
        return QKeySequence(QKeyCombination(qtModifiers, *qtKey)).toString(QKeySequence::NativeText);

    // A key the table does not know still gets a readable label.
    const QString prefix = qtModifiers ? QKeySequence(QKeyCombination(qtModifiers, Qt::Key_A))
                                             .toString(QKeySequence::NativeText)
                                             .chopped(1)
                                       : QString();
    return prefix + key.toUpper();
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
