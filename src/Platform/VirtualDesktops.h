#pragma once

#include <QObject>

#include <memory>

// Tells when the user switches to another virtual desktop (workspace).
class VirtualDesktops : public QObject
{
    Q_OBJECT
public:
    using QObject::QObject;
    ~VirtualDesktops() override = default;

    // The backend for the running Qt platform; one that never reports a switch where none exists.
    static std::unique_ptr<VirtualDesktops> createDefault(QObject *parent = nullptr);

Q_SIGNALS:
    void currentChanged();
};
