import QtQuick
import QtQuick.Controls
import QtQuick.Layouts
import Halcy

SettingsPage {
    id: page

    function deviceChoices(source) {
        if (!source)
            return [];
        return source.devices.map(device => ({ text: device.name, value: device.id }));
    }

    SettingsSection {
        title: "Devices"
        footnote: "Built-in, external USB and virtual cameras (v4l2loopback) are all supported."
        SettingsPicker {
            label: "Camera"
            iconName: "video"
            emptyText: "No camera found"
            choices: page.deviceChoices(page.settings.camera)
            current: page.settings.camera ? page.settings.camera.selectedDeviceID : ""
            onPicked: value => page.settings.camera.selectedDeviceID = value
        }
        SettingsPicker {
            label: "Microphone"
            emptyText: "No microphone found"
            choices: page.deviceChoices(page.settings.microphone)
            current: page.settings.microphone ? page.settings.microphone.selectedDeviceID : ""
            onPicked: value => page.settings.microphone.selectedDeviceID = value
        }
        Button {
            text: "Refresh devices"
            onClicked: page.settings.refreshDevices()
        }
    }
    SettingsSection {
        title: "Appearance"
        footnote: "Keep this off if you want the Mirror to appear in screen recordings and shares. " +
                  "X11 cannot hide a window from screen capture, so on this desktop the Mirror is always visible to it."
        SettingsPicker {
            label: "Shape"
            choices: [
                { text: "Rounded", value: Mirror.MirrorShape.roundedRectangle },
                { text: "Circle", value: Mirror.MirrorShape.circle },
                { text: "Square", value: Mirror.MirrorShape.square }
            ]
            current: page.appState.mirrorShape
            onPicked: value => page.appState.mirrorShape = value
        }
        SettingsToggle {
            label: "Mirror flip (selfie view)"
            checked: page.appState.mirrorFlipDefault
            onToggled: on => page.appState.mirrorFlipDefault = on
        }
        SettingsToggle {
            label: "Show mic level on preview"
            checked: page.appState.mirrorShowMicLevel
            onToggled: on => page.appState.mirrorShowMicLevel = on
        }
        SettingsToggle {
            label: "Exclude from screen sharing"
            checked: page.appState.excludeMirrorFromScreenShare
            onToggled: on => page.appState.excludeMirrorFromScreenShare = on
        }
    }
    Item { Layout.preferredHeight: 8 }
}
