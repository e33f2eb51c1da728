import QtQuick
import QtQuick.Layouts
import Halcy

// A titled group of rows on a card, with an optional footnote under it.
ColumnLayout {
    id: section

    property string title
    property string footnote
    default property alias rows: card.data

    Layout.fillWidth: true
    spacing: 6

    Text {
        text: section.title
        color: Theme.secondaryText
        font.pixelSize: 12
        font.weight: Font.DemiBold
        Accessible.role: Accessible.Heading
        Accessible.name: text
    }
    Rectangle {
        Layout.fillWidth: true
        implicitHeight: card.implicitHeight + 16
        radius: 8
        color: Theme.card
        border.color: Theme.border
        ColumnLayout {
            id: card
            anchors.fill: parent
            anchors.margins: 8
            anchors.leftMargin: 12
            anchors.rightMargin: 12
            spacing: 6
        }
    }
    Text {
        visible: section.footnote.length > 0
        Layout.fillWidth: true
        text: section.footnote
        wrapMode: Text.WordWrap
        color: Theme.tertiaryText
        font.pixelSize: 11
    }
}
