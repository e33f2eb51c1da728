import QtQuick
import QtQuick.Layouts
import Halcy

// A label on the left and a control or value on the right.
RowLayout {
    id: row

    property string label
    property string iconName
    property string value
    default property alias trailing: slot.data

    Layout.fillWidth: true
    spacing: 8

    Icon {
        visible: row.iconName.length > 0
        name: row.iconName
        color: Theme.secondaryText
        Layout.preferredWidth: 16
        Layout.preferredHeight: 16
    }
    Text {
        text: row.label
        color: Theme.text
        font.pixelSize: 13
        Layout.fillWidth: true
        elide: Text.ElideRight
    }
    Text {
        visible: row.value.length > 0
        text: row.value
        color: Theme.secondaryText
        font.pixelSize: 13
        Accessible.role: Accessible.StaticText
        Accessible.name: row.label + ": " + row.value
    }
    RowLayout {
        id: slot
        spacing: 6
    }
}
