import QtQuick
import Halcy

// The live microphone level: a 44 px track whose fill turns orange when the input is loud.
Rectangle {
    id: root

    required property MicrophoneLevelMonitor microphone
    property bool compact: false
    signal menuRequested()

    readonly property real level: microphone.level
    readonly property int trackWidth: 44

    width: row.implicitWidth + 14
    height: 22
    radius: height / 2
    color: Qt.rgba(0, 0, 0, 0.55)

    Accessible.role: Accessible.Indicator
    Accessible.name: "Microphone level"
    Accessible.description: microphone.stateLabel

    Row {
        id: row
        anchors.centerIn: parent
        spacing: 6

        MirrorGlyph {
            anchors.verticalCenter: parent.verticalCenter
            name: root.microphone.stateIcon
            size: 12
        }
        Rectangle {
            objectName: "meterTrack"
            anchors.verticalCenter: parent.verticalCenter
            width: root.trackWidth
            height: 5
            radius: 2.5
            color: Qt.rgba(1, 1, 1, 0.18)

            Rectangle {
                objectName: "meterFill"
                width: Math.max(root.level * root.trackWidth, 4)
                height: parent.height
                radius: parent.radius
                color: root.level > 0.82 ? "orange" : "#0a84ff"
            }
        }
        Text {
            visible: !root.compact
            anchors.verticalCenter: parent.verticalCenter
            text: root.microphone.stateLabel
            color: "white"
            font.pixelSize: 10
        }
    }

    MouseArea {
        anchors.fill: parent
        acceptedButtons: Qt.RightButton
        onClicked: root.menuRequested()
    }
}
