#include "Mirror/MirrorCameraState.h"

QString MirrorCameraState::name() const
{
    switch (m_kind) {
    case Kind::idle:
        return QStringLiteral("idle");
    case Kind::checkingPermission:
        return QStringLiteral("checkingPermission");
    case Kind::permissionDenied:
        return QStringLiteral("permissionDenied");
    case Kind::noCamera:
        return QStringLiteral("noCamera");
    case Kind::starting:
        return QStringLiteral("starting");
    case Kind::running:
        return QStringLiteral("running");
    case Kind::stopped:
        return QStringLiteral("stopped");
    case Kind::failed:
        return QStringLiteral("failed");
    }
    return {};
}

QString MirrorCameraState::title() const
{
    switch (m_kind) {
    case Kind::idle:
    case Kind::stopped:
        return QStringLiteral("Camera off");
    case Kind::checkingPermission:
        return QStringLiteral("Checking camera access");
    case Kind::permissionDenied:
        return QStringLiteral("Camera access needed");
    case Kind::noCamera:
        return QStringLiteral("No camera found");
    case Kind::starting:
        return QStringLiteral("Starting camera");
    case Kind::running:
        return QStringLiteral("Camera ready");
    case Kind::failed:
        return QStringLiteral("Camera unavailable");
    }
    return {};
}

QString MirrorCameraState::detail() const
{
    switch (m_kind) {
    case Kind::idle:
    case Kind::stopped:
        return QStringLiteral("Open Mirror to start the camera.");
    case Kind::checkingPermission:
        return QStringLiteral("Halcy is checking whether this system allows camera access.");
    // Linux has no consent prompt: the device node's permissions decide.
    case Kind::permissionDenied:
        return QStringLiteral(
            "The camera exists but Halcy may not open it. Add your user to the \"video\" group "
            "(sudo usermod -aG video $USER), log out and back in, then open Mirror again.");
    case Kind::noCamera:
        return QStringLiteral("Connect a webcam, then try again.");
    case Kind::starting:
        return QStringLiteral("Preparing a private local preview.");
    case Kind::running:
        return QStringLiteral("The camera turns off when this window closes.");
    case Kind::failed:
        return m_message;
    }
    return {};
}

QString MirrorCameraState::iconName() const
{
    switch (m_kind) {
    case Kind::permissionDenied:
        return QStringLiteral("video.slash");
    case Kind::noCamera:
        return QStringLiteral("web.camera");
    case Kind::failed:
        return QStringLiteral("exclamationmark.triangle");
    default:
        return QStringLiteral("video");
    }
}
