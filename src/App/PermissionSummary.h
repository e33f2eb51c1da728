#pragma once

#include <QList>
#include <QMetaType>
#include <QString>
#include <QStringList>

#include <QtQml/qqmlregistration.h>

// The standing of one permission. Linux never asks the user, so notDetermined is not reported there.
class PermissionStateNames
{
    Q_GADGET
    QML_NAMED_ELEMENT(PermissionState)
    QML_UNCREATABLE("an enumeration")
public:
    enum Value
    {
        allowed,
        needed,
        notDetermined,
        unavailable
    };
    Q_ENUM(Value)
};
using PermissionState = PermissionStateNames::Value;

// One permission as the settings and onboarding pages show it. Equal only when every field is.
struct PermissionSummary
{
    Q_GADGET
    Q_PROPERTY(QString id MEMBER id)
    Q_PROPERTY(QString title MEMBER title)
    Q_PROPERTY(QString detail MEMBER detail)
    Q_PROPERTY(PermissionStateNames::Value state MEMBER state)
    Q_PROPERTY(bool canOpenSettings READ canOpenSettings)

public:
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

Q_DECLARE_METATYPE(PermissionSummary)
