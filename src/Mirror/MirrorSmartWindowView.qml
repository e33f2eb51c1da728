import QtQuick
import Halcy

// The bubble: the live preview in its shape, or the camera's state while it does not run; the snap
// badge and the microphone meter on top.
Item {
    id: root

    required property MirrorWindowController controller
    required property MirrorCameraEngine camera
    required property MicrophoneLevelMonitor microphone

    readonly property string shape: controller.shape
    readonly property real cornerRadius: shape === "circle" ? Math.min(width, height) / 2
                                                             : shape === "roundedRectangle" ? 22 : 0
    readonly property bool running: camera.state === "running"

    Rectangle {
        anchors.fill: parent
        radius: root.cornerRadius
        antialiasing: true
        color: Qt.rgba(20 / 255, 21 / 255, 26 / 255, 1)
    }

    MirrorPreview {
        id: preview
        objectName: "mirrorPreview"
        anchors.fill: parent
        visible: root.running
        frames: root.camera.frames
        mirrored: root.camera.isMirrored
        shape: root.shape
    }

    CameraStateView {
        anchors.fill: parent
        anchors.margins: root.shape === "circle" ? root.width * 0.15 : 12
        visible: !root.running
        camera: root.camera
    }

    MouseArea {
        anchors.fill: parent
        acceptedButtons: Qt.LeftButton | Qt.RightButton
        onPressed: mouse => {
            if (mouse.button === Qt.RightButton)
                root.controller.showContextMenu()
            else
                root.controller.startMove()
        }
        onWheel: wheel => root.controller.scroll(wheel.angleDelta.y / 8)
    }

    Rectangle {
        id: badge
        objectName: "snapBadge"
        property bool fresh: false
        anchors.horizontalCenter: parent.horizontalCenter
        anchors.top: parent.top
        anchors.topMargin: root.shape === "circle" ? root.height * 0.16 : 10
        visible: root.camera.snapshotStatus.length > 0 && fresh
        width: badgeText.implicitWidth + 20
        height: badgeText.implicitHeight + 10
        radius: height / 2
        color: Qt.rgba(0, 0, 0, 0.6)

        Text {
            id: badgeText
            anchors.centerIn: parent
            text: root.camera.snapshotStatus
            color: "white"
            font.pixelSize: 11
        }

        // The message stays a few seconds, then gets out of the user's face.
        Connections {
            target: root.camera
            function onSnapshotStatusChanged() {
                badge.fresh = true
                badgeTimer.restart()
            }
        }
        Timer {
            id: badgeTimer
            interval: 4000
            onTriggered: badge.fresh = false
        }
    }

    MicrophoneLevelView {
        objectName: "microphoneMeter"
        anchors.horizontalCenter: parent.horizontalCenter
        anchors.bottom: parent.bottom
        anchors.bottomMargin: root.shape === "circle" ? root.height * 0.12 : 10
        visible: root.controller.showMicLevel
        microphone: root.microphone
        compact: root.width < 220
        onMenuRequested: root.controller.showMeterMenu()
    }
}
