import QtQuick
import QtQuick.Controls
import QtQuick.Layouts
import Halcy

// One history row. Click copies (formatted); Shift-click pastes as plain text (Alt-click belongs to
// the window manager on most Linux desktops); right click asks for the context menu.
Rectangle {
    id: row

    required property int index
    required property string title
    required property string preview
    required property string type
    required property string typeName
    required property string sourceAppName
    required property bool isPinned
    required property int quickNumber
    required property bool isSelected
    required property color swatchColor
    required property string thumbnailSource
    required property string accessibleName
    required property HubController hub
    // Its context menu is open.
    property bool isMenuTarget: false

    // The hub owns one shared menu; a menu per row made every list rebuild slow.
    signal contextMenuRequested(int index, bool isPinned)

    height: 52
    radius: 8
    color: isSelected ? Theme.accent : (hover.hovered || isMenuTarget ? Theme.rowHover : "transparent")
    border.color: isMenuTarget && !isSelected ? Theme.accent : "transparent"
    border.width: 1

    Accessible.role: Accessible.ListItem
    Accessible.name: accessibleName
    Accessible.description: title
    Accessible.selected: isSelected
    Accessible.onPressAction: hub.copyRow(index)

    HoverHandler { id: hover }

    MouseArea {
        anchors.fill: parent
        acceptedButtons: Qt.LeftButton | Qt.RightButton
        onClicked: mouse => {
            if (mouse.button === Qt.RightButton) {
                row.contextMenuRequested(row.index, row.isPinned);
            } else if (mouse.modifiers & Qt.ShiftModifier) {
                row.hub.pasteRow(row.index, true);
            } else {
                row.hub.copyRow(row.index);
            }
        }
    }

    RowLayout {
        anchors.fill: parent
        anchors.leftMargin: 8
        anchors.rightMargin: 8
        spacing: 9

        // Thumbnail for images, swatch for colours, the type icon otherwise.
        Item {
            Layout.preferredWidth: 30
            Layout.preferredHeight: 30
            Rectangle {
                anchors.fill: parent
                radius: 7
                color: row.isSelected ? Qt.rgba(1, 1, 1, 0.18) : Theme.iconWell
                visible: row.type !== "color" && !thumbnail.visible
            }
            Icon {
                anchors.centerIn: parent
                width: 16
                height: 16
                name: row.type
                color: row.isSelected ? "white" : Theme.secondaryText
                visible: row.type !== "color" && !thumbnail.visible
            }
            Rectangle {
                anchors.fill: parent
                radius: 7
                visible: row.type === "color"
                color: row.swatchColor
                // A ring thick enough to keep a swatch visible on a highlight of the same colour.
                border.color: row.isSelected ? "white" : Theme.border
                border.width: row.isSelected ? 2 : 1
            }
            Image {
                id: thumbnail
                anchors.fill: parent
                source: row.thumbnailSource
                sourceSize.width: 60
                sourceSize.height: 60
                fillMode: Image.PreserveAspectCrop
                asynchronous: true
                cache: true
                visible: status === Image.Ready
            }
        }

        ColumnLayout {
            spacing: 1
            Layout.fillWidth: true
            Text {
                text: row.title
                color: row.isSelected ? "white" : Theme.text
                font.pixelSize: 13
                font.weight: Font.Medium
                elide: Text.ElideRight
                textFormat: Text.PlainText
                maximumLineCount: 1
                Layout.fillWidth: true
            }
            Text {
                text: row.preview
                color: row.isSelected ? Qt.rgba(1, 1, 1, 0.85) : Theme.secondaryText
                font.pixelSize: 11
                elide: Text.ElideRight
                textFormat: Text.PlainText
                maximumLineCount: 1
                Layout.fillWidth: true
            }
            Text {
                text: row.sourceAppName
                color: row.isSelected ? Qt.rgba(1, 1, 1, 0.7) : Theme.tertiaryText
                font.pixelSize: 10
                elide: Text.ElideRight
                textFormat: Text.PlainText
                Layout.fillWidth: true
            }
        }

        Icon {
            name: "pin"
            visible: row.isPinned
            color: row.isSelected ? "white" : Theme.secondaryText
            Layout.preferredWidth: 12
            Layout.preferredHeight: 12
        }
        Text {
            text: row.quickNumber
            visible: row.quickNumber > 0
            color: row.isSelected ? "white" : Theme.tertiaryText
            font.pixelSize: 11
            font.family: "monospace"
        }
    }
}
