#include "Mirror/MicrophoneMeterState.h"

QString MicrophoneMeterState::name() const
{
    switch (m_kind) {
    case Kind::unavailable:
        return QStringLiteral("unavailable");
    case Kind::idle:
        return QStringLiteral("idle");
    case Kind::checkingPermission:
        return QStringLiteral("checkingPermission");
    case Kind::starting:
        return QStringLiteral("starting");
    case Kind::permissionDenied:
        return QStringLiteral("permissionDenied");
    case Kind::running:
        return QStringLiteral("running");
    case Kind::stopped:
        return QStringLiteral("stopped");
    }
    return {};
}

QString MicrophoneMeterState::label() const
{
    switch (m_kind) {
    case Kind::idle:
    case Kind::stopped:
        return QStringLiteral("Mic off");
    case Kind::checkingPermission:
        return QStringLiteral("Checking mic");
    case Kind::starting:
        return QStringLiteral("Starting mic");
    case Kind::permissionDenied:
        return QStringLiteral("Mic access needed");
    case Kind::running:
        return QStringLiteral("Mic live");
    case Kind::unavailable:
        return QStringLiteral("Mic unavailable");
    }
    return {};
}

QString MicrophoneMeterState::iconName() const
{
    return m_kind == Kind::permissionDenied || m_kind == Kind::unavailable ? QStringLiteral("mic.slash")
                                                                           : QStringLiteral("mic");
}
