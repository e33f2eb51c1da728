#pragma once

#include "Core/EnumNames.h"

#include <QList>
#include <QString>
#include <QStringList>

// The standing of one permission. Linux never asks the user, so notDetermined is not reported there.
enum class PermissionState
{
    allowed,
    needed,
    notDetermined,
    unavailable
};

template <> struct EnumTraits<PermissionState>
{
    static constexpr std::array<const char *, 4> names{"allowed", "needed", "notDetermined", "unavailable"};
};

// One permission as the settings and onboarding pages show it. Equal only when every field is.
struct PermissionSummary
{
    QString id;
    QString title;
    QString detail;
    PermissionState state = PermissionState::unavailable;
    // The program and arguments that show the desktop's own page for it; empty when there is none.
    QStringList settingsCommand;

    bool canOpenSettings() const { return !settingsCommand.isEmpty(); }

    friend bool operator==(const PermissionSummary &a, const PermissionSummary &b)
    {
        return a.id == b.id && a.title == b.title && a.detail == b.detail && a.state == b.state &&
               a.settingsCommand == b.settingsCommand;
    }
    friend bool operator!=(const PermissionSummary &a, const PermissionSummary &b) { return !(a == b); }
};

using PermissionSummaries = QList<PermissionSummary>;
