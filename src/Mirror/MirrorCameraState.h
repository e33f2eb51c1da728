#pragma once

#include <QString>

// The camera's state as the bubble and the settings show it; `failed` carries the text shown to the user.
class MirrorCameraState
{
public:
    enum class Kind
    {
        idle,
        checkingPermission,
        permissionDenied,
        noCamera,
        starting,
        running,
        stopped,
        failed
    };

    MirrorCameraState() = default;
    static MirrorCameraState failed(const QString &message)
    {
        return MirrorCameraState(Kind::failed, message);
    }
    // Implicit on purpose: `state = Kind::running` reads as the state table does.
    MirrorCameraState(Kind kind) : m_kind(kind) {}

    Kind kind() const { return m_kind; }
    QString message() const { return m_message; }
    QString name() const;

    // What the state view shows while the camera is not running.
    QString title() const;
    QString detail() const;
    QString iconName() const;

    friend bool operator==(const MirrorCameraState &a, const MirrorCameraState &b)
    {
        return a.m_kind == b.m_kind && a.m_message == b.m_message;
    }
    friend bool operator!=(const MirrorCameraState &a, const MirrorCameraState &b) { return !(a == b); }

private:
    MirrorCameraState(Kind kind, const QString &message) : m_kind(kind), m_message(message) {}

    Kind m_kind = Kind::idle;
    QString m_message;
};
