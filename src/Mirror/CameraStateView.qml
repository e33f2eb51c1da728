import QtQuick
import Halcy

// What the bubble shows while the camera does not run: an icon, a title and the detail of the state.
Item {
    id: root

    required property MirrorCameraEngine camera

    Column {
        anchors.centerIn: parent
        width: parent.width
        spacing: 6

        MirrorGlyph {
            anchors.horizontalCenter: parent.horizontalCenter
            name: root.camera.stateIcon
            size: 26
        }
        Text {
            width: parent.width
            horizontalAlignment: Text.AlignHCenter
            text: root.camera.stateTitle
            color: "white"
            font.pixelSize: 13
            font.bold: true
            wrapMode: Text.Wrap
        }
        Text {
            width: parent.width
            horizontalAlignment: Text.AlignHCenter
            text: root.camera.stateDetail
            color: Qt.rgba(1, 1, 1, 0.72)
            font.pixelSize: 10
            wrapMode: Text.Wrap
            maximumLineCount: 5
            elide: Text.ElideRight
        }
    }
}
