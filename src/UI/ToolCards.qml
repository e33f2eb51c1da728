import QtQuick
import QtQuick.Layouts
import Halcy

// The Mirror and Hide Desktop cards: on/off at a glance, a click toggles.
RowLayout {
    id: cards

    required property HubController hub
    readonly property AppState appState: hub.appState

    spacing: 8
    QuickActionCard {
        objectName: "mirrorCard"
        title: "Mirror"
        subtitle: cards.appState.shortcutText("mirror.toggle")
        iconName: "video"
        isOn: cards.appState.mirrorOpen
        isEnabled: cards.appState.mirrorEnabled
        Layout.fillWidth: true
        Layout.preferredWidth: 1
        onActivated: cards.hub.toggleMirror()
    }
    QuickActionCard {
        objectName: "desktopCard"
        title: "Hide Desktop"
        subtitle: cards.appState.shortcutText("desktop.toggle")
        iconName: "desktop"
        isOn: cards.appState.desktopHidden
        isEnabled: cards.appState.desktopEnabled
        Layout.fillWidth: true
        Layout.preferredWidth: 1
        onActivated: cards.hub.toggleDesktopCover()
    }
}
