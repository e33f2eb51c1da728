#pragma once

#include "Platform/HotkeyRegistrar.h"

#include <QMap>
#include <QSet>

// Grabs in a map instead of on the desktop. Tests mark keys as taken by another program and press
// combinations; a press reaches only a live grab, as on a real desktop.
class FakeHotkeyRegistrar final : public HotkeyRegistrar
{
public:
    using HotkeyRegistrar::HotkeyRegistrar;

    QSet<Qt::Key> taken;
    QMap<quint32, QKeyCombination> grabs; // by id
    int grabCalls = 0;

    // Presses key + modifiers; true when a live grab took the press (ids start at 1).
    bool press(Qt::Key key, Qt::KeyboardModifiers modifiers)
    {
        const quint32 id = grabs.key(QKeyCombination(modifiers, key), 0);
        if (id != 0)
            Q_EMIT pressed(id);
        return id != 0;
    }

    bool grab(quint32 id, Qt::Key key, Qt::KeyboardModifiers modifiers) override
    {
        ++grabCalls;
        grabs.remove(id);
        if (taken.contains(key))
            return false;
        grabs.insert(id, QKeyCombination(modifiers, key));
        return true;
    }

    void ungrabAll() override { grabs.clear(); }
};
