import QtQuick
import Halcy

// The drawn glyph and the wordmark.
Row {
    id: mark

    property color ink: Theme.ink
    property color glyphBody: "#f2f2f4"

    spacing: 7
    Accessible.role: Accessible.StaticText
    Accessible.name: "Halcy"

    Rectangle {
        width: 22
        height: 22
        radius: 6
        color: mark.ink
        anchors.verticalCenter: parent.verticalCenter
        Accessible.ignored: true

        Rectangle {
            anchors.centerIn: parent
            width: 12
            height: 12
            radius: 6
            color: mark.glyphBody
            Rectangle {
                anchors.centerIn: parent
                width: 5
                height: 5
                radius: 2.5
                color: "#ff5a4e"
            }
        }
    }

    Text {
        text: "Halcy"
        color: mark.ink
        font.pixelSize: 17
        font.weight: Font.DemiBold
        font.letterSpacing: 0.3
        anchors.verticalCenter: parent.verticalCenter
        Accessible.ignored: true
    }
}
