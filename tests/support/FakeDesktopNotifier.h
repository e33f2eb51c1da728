#pragma once

#include "Platform/DesktopNotifier.h"

#include <QStringList>

// Keeps the notifications instead of showing them.
class FakeDesktopNotifier final : public DesktopNotifier
{
public:
    QStringList bodies;

    bool notify(const QString &, const QString &body) override
    {
        bodies << body;
        return true;
    }
};
