import QtQuick
import QtQuick.Controls
import QtQuick.Layouts
import Halcy

SettingsPage {
    id: page

    // Nothing watches the system for changes: the page asks again each time it comes into view.
    onVisibleChanged: if (visible) page.settings.refreshPermissions()

    SettingsSection {
        title: "System access"
        Repeater {
            model: page.appState.permissionSummaries
            PermissionRow {
                required property var modelData
                summary: modelData
                onOpenSettings: id => page.settings.openPermissionSettings(id)
            }
        }
        Button {
            text: "Refresh"
            onClicked: page.settings.refreshPermissions()
        }
    }
    Item { Layout.preferredHeight: 8 }
}
