import QtQuick
import QtQuick.Controls
import QtQuick.Layouts
import Halcy

// The history rows with their day sections, the row context menu, and the selection kept in view.
ListView {
    id: list

    required property HubController hub
    readonly property bool searching: hub.appState.searchQuery.trim().length > 0
    objectName: "historyList"
    clip: true
    spacing: 2
    model: list.hub.model
    boundsBehavior: Flickable.StopAtBounds
    reuseItems: true
    Accessible.role: Accessible.List
    Accessible.name: "Clipboard history"
    ScrollBar.vertical: ScrollBar { policy: ScrollBar.AsNeeded }

    section.property: list.searching ? "" : "section"
    section.criteria: ViewSection.FullString
    section.delegate: Text {
        required property string section
        text: section
        color: Theme.tertiaryText
        font.pixelSize: 11
        font.weight: Font.DemiBold
        topPadding: 6
        bottomPadding: 3
        leftPadding: 6
        Accessible.role: Accessible.Heading
        Accessible.name: section
    }

    delegate: ClipboardRow {
        width: ListView.view.width
        hub: list.hub
        onContextMenuRequested: (index, isPinned) => rowMenu.openFor(index, isPinned)
    }

    Menu {
        id: rowMenu
        objectName: "rowMenu"

        property int row: -1
        property bool rowIsPinned: false

        function openFor(index, isPinned) {
            row = index;
            rowIsPinned = isPinned;
            popup();
        }

        MenuItem { text: "Copy"; onTriggered: list.hub.copyRow(rowMenu.row) }
        MenuItem { text: "Paste"; onTriggered: list.hub.pasteRow(rowMenu.row, false) }
        MenuItem { text: "Paste as plain text"; onTriggered: list.hub.pasteRow(rowMenu.row, true) }
        MenuSeparator {}
        MenuItem {
            text: rowMenu.rowIsPinned ? "Unpin" : "Pin"
            onTriggered: list.hub.togglePinRow(rowMenu.row)
        }
        MenuItem {
            text: "Delete"
            onTriggered: list.hub.deleteRow(rowMenu.row)
            contentItem: Text {
                text: "Delete"
                color: Theme.destructive
                font.pixelSize: 13
                verticalAlignment: Text.AlignVCenter
                leftPadding: 2
            }
        }
    }

    Connections {
        target: list.hub.model
        function onSelectedRowChanged() {
            if (list.hub.model.selectedRow >= 0)
                list.positionViewAtIndex(list.hub.model.selectedRow, ListView.Contain);
        }
    }

    // Each opening starts at the top of the list.
    Connections {
        target: list.hub
        function onShownChanged() {
            if (list.hub.shown)
                list.positionViewAtBeginning();
        }
    }
}
