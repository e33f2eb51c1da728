#pragma once

#include "Platform/HotkeyRegistrar.h"

#include <QList>
#include <QSet>

// Grabs in a list instead of on the desktop. Tests mark keys as taken by another program and press
// combinations; a press reaches only a live grab, as on a real desktop.
class FakeHotkeyRegistrar final : public HotkeyRegistrar
{
public:
    struct Grab
    {
        quint32 id;
        Qt::Key key;
        Qt::KeyboardModifiers modifiers;
    };

    using HotkeyRegistrar::HotkeyRegistrar;

    QSet<Qt::Key> taken;
    QList<Grab> grabs;
    int grabCalls = 0;

    // Presses key + modifiers; true when a live grab took the press.
    bool press(Qt::Key key, Qt::KeyboardModifiers modifiers)
    {
        for (const Grab &grab : std::as_const(grabs)) {
            if (grab.key == key && grab.modifiers == modifiers) {
                Q_EMIT pressed(grab.id);
                return true;
            }
        }
        return false;
    }

    bool grab(quint32 id, Qt::Key key, Qt::KeyboardModifiers modifiers) override
    {
        ++grabCalls;
        grabs.removeIf([id](const Grab &g) { return g.id == id; });
        if (taken.contains(key))
            return false;
        grabs.append({id, key, modifiers});
        return true;
    }

    void ungrabAll() override { grabs.clear(); }
};
