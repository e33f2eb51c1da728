import QtQuick
import QtQuick.Controls
import Halcy

// A borderless icon button with a tooltip and an accessible name.
AbstractButton {
    id: button

    property string iconName
    property string label
    property real iconSize: 15

    implicitWidth: 28
    implicitHeight: 28
    hoverEnabled: true
    focusPolicy: Qt.TabFocus
    Accessible.role: Accessible.Button
    Accessible.name: label
    ToolTip.visible: hovered && label.length > 0
    ToolTip.text: label
    ToolTip.delay: 600

    background: Rectangle {
        radius: 7
        color: button.hovered ? Theme.rowHover : "transparent"
        border.color: Theme.accent
        border.width: button.visualFocus ? 2 : 0
    }
    contentItem: Item {
        Icon {
            anchors.centerIn: parent
            width: button.iconSize
            height: button.iconSize
            name: button.iconName
            color: Theme.secondaryText
        }
    }
}
