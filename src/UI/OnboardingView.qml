import QtQuick
import QtQuick.Controls
import QtQuick.Layouts
import Halcy

// The first-launch welcome: what Halcy does, automatic paste, camera and microphone, and done.
Pane {
    id: root

    required property OnboardingWindowController onboarding
    readonly property AppState appState: onboarding.appState
    property int currentTab: 0
    property string accessibilityMessage

    function stateOf(id) {
        const summaries = appState.permissionSummaries;
        for (let i = 0; i < summaries.length; ++i) {
            if (summaries[i].id === id)
                return summaries[i].state;
        }
        return "unavailable";
    }
    readonly property bool accessibilityTrusted: stateOf("accessibility") === "allowed"
    readonly property bool cameraGranted: stateOf("camera") === "allowed"
    readonly property bool microphoneGranted: stateOf("microphone") === "allowed"

    width: 520
    height: 380
    padding: 24
    palette.window: Theme.background
    palette.windowText: Theme.text
    palette.button: Theme.iconWell
    palette.buttonText: Theme.text
    palette.highlight: Theme.accent
    background: Rectangle { color: Theme.background }
    focus: true

    Keys.onLeftPressed: if (currentTab > 0) currentTab--
    Keys.onRightPressed: if (currentTab < 3) currentTab++

    component Title: Text {
        color: Theme.text
        font.pixelSize: 20
        font.weight: Font.DemiBold
        Layout.fillWidth: true
        wrapMode: Text.WordWrap
        Accessible.role: Accessible.Heading
        Accessible.name: text
    }
    component Body: Text {
        color: Theme.secondaryText
        font.pixelSize: 13
        Layout.fillWidth: true
        wrapMode: Text.WordWrap
    }
    component Feature: RowLayout {
        id: feature
        property string iconName
        property string title
        property string detail
        Layout.fillWidth: true
        spacing: 10
        Icon { name: feature.iconName; color: Theme.text; Layout.preferredWidth: 18; Layout.preferredHeight: 18 }
        ColumnLayout {
            spacing: 1
            Text { text: feature.title; color: Theme.text; font.pixelSize: 13; font.weight: Font.DemiBold }
            Text { text: feature.detail; color: Theme.secondaryText; font.pixelSize: 12; Layout.fillWidth: true; wrapMode: Text.WordWrap }
        }
    }

    ColumnLayout {
        anchors.fill: parent
        spacing: 12

        // Pages anchored to a sized item rather than in a StackLayout: a StackLayout lays the first page out
        // at its unwrapped width before it has its own, and the wrapped text then overlaps what follows.
        Item {
            Layout.fillWidth: true
            Layout.fillHeight: true

            ColumnLayout {
                anchors.fill: parent
                visible: root.currentTab === 0
                spacing: 10
                BrandMark { ink: Theme.text; glyphBody: Theme.background }
                Body { text: "A quiet, native utility that combines three essential developer tools in one place:" }
                Feature { iconName: "clipboard"; title: "Clipboard history"; detail: "Fast search, pins, and automatic plain-text pasting." }
                Feature { iconName: "video"; title: "Camera mirror"; detail: "A floating overlay with customizable masks & micro-level meters." }
                Feature { iconName: "desktop"; title: "Clean desktop"; detail: "Sandbox-safe windows to hide desktop clutter without file manager restarts." }
                Item { Layout.fillHeight: true }
            }
            ColumnLayout {
                anchors.fill: parent
                visible: root.currentTab === 1
                spacing: 10
                Title { text: "Accessibility Permission" }
                Body { text: "Halcy needs the X server's XTest extension to simulate the 'Ctrl+V' shortcut. This allows the app to automatically paste items directly when you click them in your history." }
                Body { text: "If you skip this, clipboard history will fall back to copy-only mode." }
                Button {
                    visible: !root.accessibilityTrusted
                    text: "Check again"
                    onClicked: {
                        root.accessibilityMessage = "This X server does not offer XTest. Halcy will copy, and you paste with Ctrl+V.";
                        root.onboarding.recheckPermissions();
                    }
                }
                Text {
                    visible: root.accessibilityTrusted
                    text: "✓ Access granted"
                    color: "#2f9e55"
                    font.pixelSize: 13
                }
                Body { visible: !root.accessibilityTrusted && text.length > 0; text: root.accessibilityMessage }
                Item { Layout.fillHeight: true }
            }
            ColumnLayout {
                anchors.fill: parent
                visible: root.currentTab === 2
                spacing: 10
                Title { text: "Camera & Microphone" }
                Body { text: "The Camera Mirror requires camera and audio permissions to display video previews, capture snaps to your clipboard, and show input level feedback." }
                PermissionRequestRow { title: "Camera access"; isGranted: root.cameraGranted; onRequested: root.onboarding.recheckPermissions() }
                PermissionRequestRow { title: "Microphone access"; isGranted: root.microphoneGranted; onRequested: root.onboarding.recheckPermissions() }
                Item { Layout.fillHeight: true }
            }
            ColumnLayout {
                anchors.fill: parent
                visible: root.currentTab === 3
                spacing: 10
                Title { text: "You're all set!" }
                Body { text: "Halcy lives quietly in your system tray. Click the tray icon or use your global hotkeys to activate tools instantly." }
                Button {
                    text: "Launch Halcy"
                    highlighted: true
                    onClicked: root.onboarding.finish()
                }
                Item { Layout.fillHeight: true }
            }
        }

        RowLayout {
            Layout.fillWidth: true
            Button {
                text: "Back"
                enabled: root.currentTab > 0
                onClicked: root.currentTab--
            }
            Item { Layout.fillWidth: true }
            Repeater {
                // One dot per page, the current one drawn dark.
                model: [root.currentTab === 0, root.currentTab === 1, root.currentTab === 2, root.currentTab === 3]
                Rectangle {
                    required property bool modelData
                    width: 7; height: 7; radius: 3.5
                    color: modelData ? Theme.text : Theme.border
                }
            }
            Item { Layout.fillWidth: true }
            Button {
                text: "Next"
                enabled: root.currentTab < 3
                onClicked: root.currentTab++
            }
        }
    }
}
