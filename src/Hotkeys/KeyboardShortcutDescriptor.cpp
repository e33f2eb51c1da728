#include "Hotkeys/KeyboardShortcutDescriptor.h"

#include "Hotkeys/ShortcutKeys.h"

#include <QKeySequence>
#include <QStringList>

#include <array>
#include <utility>

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
    // The order and names Linux desktops print in their own shortcut settings. Qt's native text would
    // say "Meta" and put it first, which no Linux desktop does.
    static constexpr std::array<std::pair<Modifier, const char *>, 4> names{{
        {Modifier::control, "Ctrl"},
        {Modifier::option, "Alt"},
        {Modifier::command, "Super"},
        {Modifier::shift, "Shift"},
    }};
    QStringList parts;
    for (const auto &[modifier, name] : names) {
        if (modifiers.contains(modifier))
            parts << QLatin1String(name);
    }
    const std::optional<Qt::Key> qtKey = ShortcutKeys::keyFor(key);
    parts << (qtKey ? QKeySequence(*qtKey).toString(QKeySequence::PortableText) : key.toUpper());
    return parts.join(QLatin1Char('+'));
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
