import QtQuick
import QtQuick.Layouts
import Halcy

// The brand mark, what Halcy is, and which build this is.
ColumnLayout {
    id: card

    property string versionLine

    Layout.fillWidth: true
    spacing: 8

    BrandMark {
        ink: Theme.text
        glyphBody: Theme.background
    }
    Text {
        Layout.fillWidth: true
        text: "A quiet Linux utility for clipboard history, camera checks, and a clean desktop."
        color: Theme.text
        font.pixelSize: 13
        wrapMode: Text.WordWrap
    }
    Text {
        text: card.versionLine
        color: Theme.secondaryText
        font.pixelSize: 12
        Accessible.role: Accessible.StaticText
        Accessible.name: text
    }
}
