import QtQuick
import QtQuick.Controls
import QtQuick.Dialogs
import QtQuick.Layouts
import Halcy

SettingsPage {
    id: page

    SettingsSection {
        title: "Fill"
        SettingsPicker {
            label: "Default fill"
            choices: [
                { text: "System material", value: Desktop.DesktopFill.systemMaterial },
                { text: "Solid color", value: Desktop.DesktopFill.solidInk },
                { text: "Blur", value: Desktop.DesktopFill.blur },
                { text: "Wallpaper", value: Desktop.DesktopFill.matchWallpaper }
            ]
            current: page.appState.hideDesktopFill
            onPicked: value => page.appState.hideDesktopFill = value
        }
        SettingsRow {
            label: "Solid color"
            Button {
                id: swatch
                implicitWidth: 44
                Accessible.name: "Solid color"
                Accessible.description: page.appState.desktopSolidColor.toString()
                onClicked: colorDialog.open()
                contentItem: Rectangle {
                    radius: 4
                    color: page.appState.desktopSolidColor
                    border.color: Theme.border
                }
            }
        }
    }
    SettingsSection {
        title: "Behavior"
        SettingsToggle {
            label: "Consume clicks on hidden desktop"
            checked: page.appState.desktopCoverConsumesClicks
            onToggled: on => page.appState.desktopCoverConsumesClicks = on
        }
        SettingsToggle {
            label: "Double-click cover to reveal"
            checked: page.appState.desktopDoubleClickToReveal
            onToggled: on => page.appState.desktopDoubleClickToReveal = on
        }
    }
    SettingsSection {
        title: "Displays"
        SettingsRow { label: "All displays" }
    }
    Item { Layout.preferredHeight: 8 }

    ColorDialog {
        id: colorDialog
        title: "Solid color"
        selectedColor: page.appState.desktopSolidColor
        onAccepted: page.appState.desktopSolidColor = selectedColor
    }
}
