import QtQuick
import QtQuick.Controls
import QtQuick.Layouts
import Halcy

// One permission: its name and use, its standing, and the desktop's settings page where there is one.
RowLayout {
    id: row

    required property var summary
    signal openSettings(string id)

    readonly property bool allowed: summary.state === "allowed"
    readonly property string stateText: ({
        allowed: "Allowed", needed: "Needed", notDetermined: "Ask on use", unavailable: "Unavailable"
    })[summary.state] || "Unavailable"

    Layout.fillWidth: true
    spacing: 10

    ColumnLayout {
        Layout.fillWidth: true
        spacing: 2
        Text {
            text: row.summary.title
            color: Theme.text
            font.pixelSize: 13
            font.weight: Font.DemiBold
        }
        Text {
            Layout.fillWidth: true
            text: row.summary.detail
            color: Theme.secondaryText
            font.pixelSize: 11
            wrapMode: Text.WordWrap
        }
    }
    Text {
        text: (row.allowed ? "✓ " : "! ") + row.stateText
        color: row.allowed ? "#2f9e55" : Theme.destructive
        font.pixelSize: 12
        Accessible.role: Accessible.StaticText
        Accessible.name: row.summary.title + ": " + row.stateText
    }
    Button {
        visible: row.summary.canOpenSettings
        text: "Open settings"
        Accessible.name: "Open " + row.summary.title + " settings"
        onClicked: row.openSettings(row.summary.id)
    }
}
