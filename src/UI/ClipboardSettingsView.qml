import QtQuick
import QtQuick.Controls
import QtQuick.Layouts
import Halcy

SettingsPage {
    id: page

    SettingsSection {
        title: "Capture"
        SettingsToggle {
            label: "Pause capture"
            checked: page.appState.clipboardPaused
            onToggled: on => page.appState.clipboardPaused = on
        }
        SettingsPicker {
            label: "Default paste"
            choices: [
                { text: "Formatted", value: Clipboard.PasteMode.formatted },
                { text: "Plain text", value: Clipboard.PasteMode.plainText }
            ]
            current: page.appState.defaultPasteMode
            onPicked: value => page.appState.defaultPasteMode = value
        }
    }
    SettingsSection {
        title: "History"
        SettingsRow { label: "History size"; value: "200 items" }
        SettingsRow { label: "Auto-expiry"; value: "Off" }
        RowLayout {
            Button {
                text: "Clear last 30 minutes"
                onClicked: page.settings.clearRecentHistory()
            }
            Button {
                text: "Clear all history"
                palette.buttonText: Theme.destructive
                onClicked: page.settings.clearHistory()
            }
        }
        Text {
            visible: text.length > 0
            text: page.appState.clipboardStatusMessage
            color: Theme.secondaryText
            font.pixelSize: 12
        }
    }
    SettingsSection {
        title: "Privacy"
        SettingsRow { label: "Concealed items"; value: "Never stored" }
        SettingsRow { label: "Transient"; value: "Never stored" }
        SettingsRow { label: "Storage"; value: "Local only" }
    }
    Item { Layout.preferredHeight: 8 }
}
