import QtQuick
import QtQuick.Controls
import QtQuick.Layouts
import Halcy

// The settings window: six tabs over the shared state, in the order of SettingsTab.
Pane {
    id: root

    required property SettingsController settings
    readonly property AppState appState: settings.appState

    width: 540
    height: 480
    padding: 0
    palette.window: Theme.background
    palette.windowText: Theme.text
    palette.base: Theme.card
    palette.text: Theme.text
    palette.button: Theme.iconWell
    palette.buttonText: Theme.text
    palette.highlight: Theme.accent
    palette.mid: Theme.border
    palette.light: Theme.cardHover
    palette.dark: Theme.border
    background: Rectangle { color: Theme.background }

    Shortcut { sequence: "Ctrl+Tab"; onActivated: tabs.currentIndex = (tabs.currentIndex + 1) % tabs.count }
    Shortcut { sequence: "Ctrl+Shift+Tab"; onActivated: tabs.currentIndex = (tabs.currentIndex + tabs.count - 1) % tabs.count }
    Shortcut { sequences: [StandardKey.Close, "Escape"]; onActivated: Window.window.close() }

    ColumnLayout {
        anchors.fill: parent
        spacing: 0

        TabBar {
            id: tabs
            objectName: "settingsTabs"
            Layout.fillWidth: true
            currentIndex: root.appState.selectedSettingsTab
            onCurrentIndexChanged: root.appState.selectedSettingsTab = currentIndex
            background: Rectangle { color: Theme.card }
            Repeater {
                model: [
                    { text: "General", icon: "gear" },
                    { text: "Clipboard", icon: "clipboard" },
                    { text: "Mirror", icon: "video" },
                    { text: "Desktop", icon: "desktop" },
                    { text: "Permissions", icon: "lock" },
                    { text: "About", icon: "info" }
                ]
                TabButton {
                    required property var modelData
                    text: modelData.text
                    Accessible.name: modelData.text
                    font.pixelSize: 12
                }
            }
        }

        StackLayout {
            Layout.fillWidth: true
            Layout.fillHeight: true
            currentIndex: tabs.currentIndex
            GeneralSettingsView { settings: root.settings }
            ClipboardSettingsView { settings: root.settings }
            MirrorSettingsView { settings: root.settings }
            DesktopSettingsView { settings: root.settings }
            PermissionsSettingsView { settings: root.settings }
            AboutSettingsView { settings: root.settings }
        }
    }
}
