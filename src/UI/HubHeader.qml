import QtQuick
import QtQuick.Layouts
import Halcy

// The brand, the settings and quit buttons, and the one line that says where Halcy lives.
ColumnLayout {
    id: header

    required property HubController hub

    spacing: 10

    RowLayout {
        Layout.fillWidth: true
        spacing: 4
        BrandMark {
            ink: Theme.text
            glyphBody: Theme.background
        }
        Item { Layout.fillWidth: true }
        HubIconButton {
            iconName: "gear"
            label: "Settings"
            onClicked: header.hub.openSettings()
        }
        HubIconButton {
            iconName: "power"
            label: "Quit Halcy"
            onClicked: header.hub.quit()
        }
    }
    Text {
        text: "Halcy lives quietly in your system tray. Click the status icon or use your global hotkeys to activate tools instantly."
        color: Theme.secondaryText
        font.pixelSize: 11
        wrapMode: Text.WordWrap
        Layout.fillWidth: true
    }
}
