import QtQuick
import QtQuick.Controls
import QtQuick.Layouts
import Halcy

SettingsPage {
    id: page

    SettingsSection {
        title: "Tools"
        SettingsToggle {
            label: "Clipboard history"
            iconName: "clipboard"
            checked: page.appState.clipboardEnabled
            onToggled: on => page.appState.clipboardEnabled = on
        }
        SettingsToggle {
            label: "Mirror"
            iconName: "video"
            checked: page.appState.mirrorEnabled
            onToggled: on => page.appState.mirrorEnabled = on
        }
        SettingsToggle {
            label: "Hide Desktop"
            iconName: "desktop"
            checked: page.appState.desktopEnabled
            onToggled: on => page.appState.desktopEnabled = on
        }
    }
    SettingsSection {
        title: "Startup"
        footnote: page.settings.loginItemError
        SettingsToggle {
            label: "Start at login"
            checked: page.settings.startAtLogin
            onToggled: on => page.settings.startAtLogin = on
        }
    }
    SettingsSection {
        title: "Global shortcuts"
        Repeater {
            model: page.appState.shortcuts
            SettingsRow {
                required property var modelData
                label: modelData.title
                value: modelData.display
            }
        }
    }
    RowLayout {
        Layout.fillWidth: true
        Button {
            text: "Reset all settings to defaults"
            palette.buttonText: Theme.destructive
            onClicked: page.settings.resetSettings()
        }
        Item { Layout.fillWidth: true }
        Button {
            text: "Quit Halcy"
            onClicked: page.settings.quit()
        }
    }
    Item { Layout.preferredHeight: 8 }
}
