import QtQuick

// The few symbols the bubble draws: "video", "video.slash", "web.camera", "exclamationmark.triangle",
// "mic" and "mic.slash". Plain shapes, so they draw with the software renderer too.
Item {
    id: root

    property string name: "video"
    property real size: 16
    readonly property bool slashed: name.endsWith(".slash")
    readonly property color ink: "white"

    width: size
    height: size

    // Camera body with its lens notch.
    Item {
        visible: root.name.startsWith("video") || root.name === "web.camera"
        anchors.fill: parent
        Rectangle {
            x: 0; y: root.size * 0.25
            width: root.size * 0.68; height: root.size * 0.5
            radius: root.size * 0.1
            color: "transparent"; border.color: root.ink; border.width: Math.max(1, root.size / 14)
        }
        Rectangle {
            x: root.size * 0.72; y: root.size * 0.35
            width: root.size * 0.26; height: root.size * 0.3
            color: root.ink
        }
    }
    // Microphone capsule.
    Rectangle {
        visible: root.name.startsWith("mic")
        anchors.horizontalCenter: parent.horizontalCenter
        width: root.size * 0.42; height: root.size * 0.7
        radius: width / 2
        color: root.ink
    }
    // Warning: a bold exclamation mark in a ring.
    Rectangle {
        visible: root.name === "exclamationmark.triangle"
        anchors.fill: parent
        radius: width / 2
        color: "transparent"; border.color: "orange"; border.width: Math.max(1.5, root.size / 10)
        Text {
            anchors.centerIn: parent
            text: "!"
            color: "orange"
            font.pixelSize: root.size * 0.7
            font.bold: true
        }
    }
    Rectangle {
        visible: root.slashed
        anchors.centerIn: parent
        width: root.size * 1.2; height: Math.max(1.5, root.size / 10)
        rotation: 45
        color: root.ink
    }
}
