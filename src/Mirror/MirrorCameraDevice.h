#pragma once

#include <QList>
#include <QString>
#include <QVariantList>
#include <QVariantMap>

#include <algorithm>

// A camera or a microphone as the device lists show it.
struct MirrorCameraDevice
{
    QString id;
    QString name;

    friend bool operator==(const MirrorCameraDevice &a, const MirrorCameraDevice &b)
    {
        return a.id == b.id && a.name == b.name;
    }
};

using MirrorCameraDevices = QList<MirrorCameraDevice>;

// The list as QML reads it: maps with "id" and "name".
inline QVariantList deviceVariantList(const MirrorCameraDevices &devices)
{
    QVariantList list;
    for (const MirrorCameraDevice &device : devices)
        list.append(QVariantMap{{QStringLiteral("id"), device.id}, {QStringLiteral("name"), device.name}});
    return list;
}

// A remembered choice stays while its device is listed; otherwise the first device, or none.
inline QString repairedSelection(const MirrorCameraDevices &devices, const QString &selected)
{
    const bool listed = std::any_of(devices.cbegin(), devices.cend(),
                                    [&](const MirrorCameraDevice &device) { return device.id == selected; });
    if (!selected.isEmpty() && listed)
        return selected;
    return devices.isEmpty() ? QString() : devices.first().id;
}
