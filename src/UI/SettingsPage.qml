import QtQuick
import QtQuick.Controls
import QtQuick.Layouts
import Halcy

// One tab's scrolling column of sections.
ScrollView {
    id: page

    required property SettingsController settings
    readonly property AppState appState: settings.appState
    default property alias sections: column.data

    contentWidth: availableWidth
    clip: true

    ColumnLayout {
        id: column
        width: page.availableWidth - 40
        x: 20
        spacing: 16
        Item { Layout.preferredHeight: 4 }
    }
}
