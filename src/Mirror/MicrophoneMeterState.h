#pragma once

#include <QString>

// The microphone meter's state; `unavailable` carries the reason shown to the user.
class MicrophoneMeterState
{
public:
    enum class Kind
    {
        unavailable,
        idle,
        checkingPermission,
        starting,
        permissionDenied,
        running,
        stopped
    };

    MicrophoneMeterState() = default;
    static MicrophoneMeterState unavailable(const QString &reason) { return {Kind::unavailable, reason}; }
    // Implicit on purpose, as for the camera's state.
    MicrophoneMeterState(Kind kind) : m_kind(kind) {}

    Kind kind() const { return m_kind; }
    QString message() const { return m_message; }
    QString name() const;
    QString label() const;
    QString iconName() const;

    friend bool operator==(const MicrophoneMeterState &a, const MicrophoneMeterState &b)
    {
        return a.m_kind == b.m_kind && a.m_message == b.m_message;
    }
    friend bool operator!=(const MicrophoneMeterState &a, const MicrophoneMeterState &b) { return !(a == b); }

private:
    MicrophoneMeterState(Kind kind, const QString &message) : m_kind(kind), m_message(message) {}

    Kind m_kind = Kind::idle;
    QString m_message;
};
