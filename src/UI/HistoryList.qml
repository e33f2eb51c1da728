import QtQuick
import QtQuick.Controls
import QtQuick.Layouts
import Halcy

// The history rows with their day sections, the row context menu, and the selection kept in view.
ListView {
    id: list

    required property HubController hub
    signal menuClosed()

    // For the keyboard: the selected row's menu, beside that row.
    function openMenuForSelection() {
        const row = hub.model.selectedRow;
        if (row < 0)
            return;
        positionViewAtIndex(row, ListView.Contain);
        const target = itemAtIndex(row) as ClipboardRow;
        if (target)
            rowMenu.openFor(row, target.isPinned, target);
    }
    objectName: "historyList"
    clip: true
    spacing: 2
    model: list.hub.model
    boundsBehavior: Flickable.StopAtBounds
    reuseItems: true
    Accessible.role: Accessible.List
    Accessible.name: "Clipboard history"
    ScrollBar.vertical: ScrollBar { policy: ScrollBar.AsNeeded }

    section.property: list.hub.model.searching ? "" : "section"
    section.criteria: ViewSection.FullString
    // The current day's header stays pinned at the top instead of scrolling off half-way.
    section.labelPositioning: ViewSection.InlineLabels | ViewSection.CurrentLabelAtStart
    section.delegate: Rectangle {
        required property string section
        objectName: "sectionHeader"
        width: ListView.view.width
        height: header.implicitHeight
        color: Theme.background
        Accessible.role: Accessible.Heading
        Accessible.name: section
        Text {
            id: header
            text: parent.section
            color: Theme.tertiaryText
            font.pixelSize: 11
            font.weight: Font.DemiBold
            topPadding: 6
            bottomPadding: 3
            leftPadding: 6
        }
    }

    delegate: ClipboardRow {
        width: ListView.view.width
        hub: list.hub
        isMenuTarget: rowMenu.opened && rowMenu.row === index
        onContextMenuRequested: (index, isPinned) => rowMenu.openFor(index, isPinned, null)
    }

    Menu {
        id: rowMenu
        objectName: "rowMenu"
        margins: 6
        onClosed: list.menuClosed()

        property int row: -1
        property bool rowIsPinned: false

        // At the pointer for a click, below the row for the keyboard.
        function openFor(index, isPinned, rowItem) {
            row = index;
            rowIsPinned = isPinned;
            if (rowItem)
                popup(rowItem, 24, rowItem.height);
            else
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
