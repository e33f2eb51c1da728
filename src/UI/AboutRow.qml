import QtQuick
import QtQuick.Controls
import QtQuick.Layouts
import Halcy

// The update check: its button, then the one line the last check answered, with the download page.
ColumnLayout {
    id: row

    required property SettingsController settings
    readonly property AppState appState: settings.appState

    Layout.fillWidth: true
    spacing: 6

    SettingsRow {
        label: "Updates"
        Button {
            text: row.appState.isCheckingForUpdates ? "Checking…" : "Check for updates"
            enabled: !row.appState.isCheckingForUpdates
            Accessible.name: text
            onClicked: row.settings.checkForUpdates()
        }
    }
    RowLayout {
        visible: row.appState.updateMessage.length > 0
        Text {
            Layout.fillWidth: true
            text: row.appState.updateMessage
            color: Theme.secondaryText
            font.pixelSize: 12
            elide: Text.ElideRight
            Accessible.role: Accessible.StaticText
            Accessible.name: text
        }
        Button {
            visible: String(row.appState.updateURL).length > 0
            text: "Download"
            onClicked: row.settings.openUpdatePage()
        }
    }
}
