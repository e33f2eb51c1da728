import QtQuick
import QtQuick.Controls
import QtQuick.Layouts
import Halcy

// The hub: header, the two tool cards, and the searchable clipboard history.
Rectangle {
    id: root

    required property HubController hub
    readonly property AppState appState: hub.appState

    width: 344
    height: 560
    color: Theme.background
    border.color: Theme.border
    border.width: 1
    radius: 0

    Keys.onEscapePressed: hub.requestClose()

    ColumnLayout {
        anchors.fill: parent
        anchors.margins: 14
        spacing: 10

        HubHeader {
            hub: root.hub
            Layout.fillWidth: true
        }
        ToolCards {
            hub: root.hub
            Layout.fillWidth: true
        }

        EmptyState {
            visible: !root.appState.clipboardEnabled
            objectName: "clipboardOffState"
            title: "Clipboard off"
            iconName: "clipboard"
            description: "Turn it back on in Settings."
            Layout.fillWidth: true
            Layout.fillHeight: true
        }

        SearchBar {
            id: searchBar
            hub: root.hub
            onRowMenuRequested: list.openMenuForSelection()
            visible: root.appState.clipboardEnabled
            Layout.fillWidth: true
        }
        RowLayout {
            objectName: "pausedBanner"
            visible: root.appState.clipboardEnabled && root.appState.clipboardPaused
            Layout.fillWidth: true
            spacing: 6
            Text {
                text: "Recording paused: new copies are not kept."
                color: Theme.secondaryText
                font.pixelSize: 11
                wrapMode: Text.WordWrap
                Layout.fillWidth: true
            }
            Button {
                objectName: "resumeButton"
                text: "Resume"
                flat: true
                font.pixelSize: 11
                onClicked: {
                    root.appState.clipboardPaused = false;
                    searchBar.focusField();
                }
            }
        }
        HistoryList {
            id: list
            hub: root.hub
            onMenuClosed: searchBar.focusField()
            visible: root.appState.clipboardEnabled && count > 0
            Layout.fillWidth: true
            Layout.fillHeight: true
        }
        EmptyState {
            visible: root.appState.clipboardEnabled && list.count === 0
            objectName: root.hub.model.searching ? "noMatchesState" : "emptyHistoryState"
            title: root.hub.model.searching ? "No matches" : "Nothing copied yet"
            iconName: root.hub.model.searching ? "search-doc" : "clipboard"
            description: root.hub.model.searching ? "Try another search." : "Copied items will appear here."
            Layout.fillWidth: true
            Layout.preferredHeight: 180
        }
        Item {
            visible: root.appState.clipboardEnabled && list.count === 0
            Layout.fillHeight: true
        }

        HubFooter {
            hub: root.hub
            visible: root.appState.clipboardEnabled
            Layout.fillWidth: true
        }
    }
}
