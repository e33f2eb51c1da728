import QtQuick
import QtQuick.Controls
import QtQuick.Layouts
import Halcy

// The hub: header, the two tool cards, and the searchable clipboard history.
Rectangle {
    id: root

    required property HubController hub
    readonly property AppState appState: hub.appState
    readonly property bool searching: appState.searchQuery.trim().length > 0

    function focusSearch() {
        if (searchLoader.item)
            searchLoader.item.forceActiveFocus();
    }

    // Each opening starts at the top of the list with the keyboard in the search field.
    Connections {
        target: root.hub
        function onShownChanged() {
            if (root.hub.shown)
                list.positionViewAtBeginning();
        }
    }

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

        // Header
        RowLayout {
            Layout.fillWidth: true
            spacing: 4
            BrandMark {
                ink: Theme.text
                glyphBody: Theme.background
            }
            Item { Layout.fillWidth: true }
            HubIconButton {
                iconName: "gear"
                label: "Settings"
                onClicked: root.hub.openSettings()
            }
            HubIconButton {
                iconName: "power"
                label: "Quit Halcy"
                onClicked: root.hub.quit()
            }
        }
        Text {
            text: "Halcy lives quietly in your system tray. Click the status icon or use your global hotkeys to activate tools instantly."
            color: Theme.secondaryText
            font.pixelSize: 11
            wrapMode: Text.WordWrap
            Layout.fillWidth: true
        }

        // Tool cards
        RowLayout {
            Layout.fillWidth: true
            spacing: 8
            QuickActionCard {
                objectName: "mirrorCard"
                title: "Mirror"
                subtitle: "Control-Super-M"
                iconName: "video"
                isOn: root.appState.mirrorOpen
                isEnabled: root.appState.mirrorEnabled
                Layout.fillWidth: true
                Layout.preferredWidth: 1
                onActivated: root.hub.toggleMirror()
            }
            QuickActionCard {
                objectName: "desktopCard"
                title: "Hide Desktop"
                subtitle: "Control-Super-D"
                iconName: "desktop"
                isOn: root.appState.desktopHidden
                isEnabled: root.appState.desktopEnabled
                Layout.fillWidth: true
                Layout.preferredWidth: 1
                onActivated: root.hub.toggleDesktopCover()
            }
        }

        // Clipboard off
        EmptyState {
            visible: !root.appState.clipboardEnabled
            objectName: "clipboardOffState"
            title: "Clipboard off"
            iconName: "clipboard"
            description: "Turn it back on in Settings."
            Layout.fillWidth: true
            Layout.fillHeight: true
        }

        // Search and Clear
        RowLayout {
            visible: root.appState.clipboardEnabled
            Layout.fillWidth: true
            spacing: 6

            Rectangle {
                Layout.fillWidth: true
                Layout.preferredHeight: 32
                radius: 8
                color: Theme.card
                border.color: searchLoader.item && searchLoader.item.activeFocus ? Theme.accent : Theme.border
                border.width: 1

                RowLayout {
                    anchors.fill: parent
                    anchors.leftMargin: 9
                    anchors.rightMargin: 6
                    spacing: 5
                    Icon {
                        name: "search"
                        color: Theme.secondaryText
                        Layout.preferredWidth: 14
                        Layout.preferredHeight: 14
                    }
                    // Text fields ask the clipboard what it holds on every change; created only while the
                    // hub is on screen, so a stuck clipboard owner can never stall Halcy in the background.
                    Loader {
                        id: searchLoader
                        active: root.hub.shown
                        Layout.fillWidth: true
                        onLoaded: item.forceActiveFocus()
                        sourceComponent: TextField {
                            objectName: "searchField"
                            placeholderText: "Search clipboard"
                            placeholderTextColor: Theme.tertiaryText
                            color: Theme.text
                            font.pixelSize: 13
                            background: null
                            leftPadding: 0
                            rightPadding: 0
                            selectByMouse: true
                            text: root.appState.searchQuery
                            onTextEdited: root.hub.search(text)
                            Accessible.name: "Search clipboard"

                            Keys.onPressed: event => {
                                const alt = (event.modifiers & Qt.AltModifier) !== 0;
                                if (event.key === Qt.Key_Down) {
                                    root.hub.moveSelection(1);
                                } else if (event.key === Qt.Key_Up) {
                                    root.hub.moveSelection(-1);
                                } else if (event.key === Qt.Key_Return || event.key === Qt.Key_Enter) {
                                    root.hub.activateSelection(alt);
                                } else if (alt && event.key >= Qt.Key_1 && event.key <= Qt.Key_9) {
                                    root.hub.pasteQuickNumber(event.key - Qt.Key_0);
                                } else if (event.key === Qt.Key_Escape) {
                                    root.hub.requestClose();
                                } else {
                                    return;
                                }
                                event.accepted = true;
                            }
                        }
                    }
                    HubIconButton {
                        visible: root.appState.searchQuery.length > 0
                        iconName: "clear"
                        label: "Clear search"
                        iconSize: 13
                        implicitWidth: 22
                        implicitHeight: 22
                        onClicked: {
                            root.hub.search("");
                            root.focusSearch();
                        }
                    }
                }
            }

            Button {
                id: clearButton
                objectName: "clearMenuButton"
                flat: true
                hoverEnabled: true
                implicitHeight: 32
                ToolTip.visible: hovered
                ToolTip.text: "Clear clipboard history"
                ToolTip.delay: 600
                Accessible.name: "Clear"
                Accessible.description: "Clear clipboard history"
                contentItem: Row {
                    spacing: 5
                    Icon {
                        name: "trash"
                        color: Theme.secondaryText
                        width: 14
                        height: 14
                        anchors.verticalCenter: parent.verticalCenter
                    }
                    Text {
                        text: "Clear"
                        color: Theme.secondaryText
                        font.pixelSize: 12
                        anchors.verticalCenter: parent.verticalCenter
                    }
                }
                background: Rectangle {
                    radius: 8
                    color: clearButton.hovered ? Theme.rowHover : "transparent"
                }
                onClicked: clearMenu.popup(clearButton, 0, clearButton.height)

                Menu {
                    id: clearMenu
                    objectName: "clearMenu"
                    MenuItem {
                        text: "Clear last 30 minutes"
                        onTriggered: root.hub.clearRecentHistory()
                    }
                    MenuItem {
                        text: "Clear all history"
                        onTriggered: root.hub.clearHistory()
                        contentItem: Text {
                            text: "Clear all history"
                            color: Theme.destructive
                            font.pixelSize: 13
                            verticalAlignment: Text.AlignVCenter
                            leftPadding: 2
                        }
                    }
                }
            }
        }

        // History
        ListView {
            id: list
            objectName: "historyList"
            visible: root.appState.clipboardEnabled && count > 0
            Layout.fillWidth: true
            Layout.fillHeight: true
            clip: true
            spacing: 2
            model: root.hub.model
            boundsBehavior: Flickable.StopAtBounds
            reuseItems: true
            Accessible.role: Accessible.List
            Accessible.name: "Clipboard history"
            ScrollBar.vertical: ScrollBar { policy: ScrollBar.AsNeeded }

            section.property: root.searching ? "" : "section"
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
                hub: root.hub
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

                MenuItem { text: "Copy"; onTriggered: root.hub.copyRow(rowMenu.row) }
                MenuItem { text: "Paste"; onTriggered: root.hub.pasteRow(rowMenu.row, false) }
                MenuItem { text: "Paste as plain text"; onTriggered: root.hub.pasteRow(rowMenu.row, true) }
                MenuSeparator {}
                MenuItem {
                    text: rowMenu.rowIsPinned ? "Unpin" : "Pin"
                    onTriggered: root.hub.togglePinRow(rowMenu.row)
                }
                MenuItem {
                    text: "Delete"
                    onTriggered: root.hub.deleteRow(rowMenu.row)
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
                target: root.hub.model
                function onSelectedRowChanged() {
                    if (root.hub.model.selectedRow >= 0)
                        list.positionViewAtIndex(root.hub.model.selectedRow, ListView.Contain);
                }
            }
        }

        EmptyState {
            visible: root.appState.clipboardEnabled && list.count === 0
            objectName: root.searching ? "noMatchesState" : "emptyHistoryState"
            title: root.searching ? "No matches" : "Nothing copied yet"
            iconName: root.searching ? "search-doc" : "clipboard"
            description: root.searching ? "Try another search." : "Copied items will appear here."
            Layout.fillWidth: true
            Layout.preferredHeight: 180
        }
        Item {
            visible: root.appState.clipboardEnabled && list.count === 0
            Layout.fillHeight: true
        }

        // Footer: the hint, or the latest status line for a few seconds.
        RowLayout {
            visible: root.appState.clipboardEnabled
            Layout.fillWidth: true
            spacing: 6
            Icon {
                name: "cursor"
                color: Theme.tertiaryText
                Layout.preferredWidth: 13
                Layout.preferredHeight: 13
            }
            Text {
                id: footerHint
                objectName: "footerHint"
                text: statusTimer.running ? root.appState.clipboardStatusMessage : "Click to copy · Alt paste plain"
                color: Theme.tertiaryText
                font.pixelSize: 11
                elide: Text.ElideRight
                Layout.fillWidth: true
                Accessible.role: Accessible.StaticText
                Accessible.name: text
            }
            Text {
                objectName: "entryCount"
                text: root.hub.model.count
                color: Theme.tertiaryText
                font.pixelSize: 11
                font.family: "monospace"
                Accessible.name: text + " items"
            }
            Timer {
                id: statusTimer
                interval: 3000
            }
            Connections {
                target: root.appState
                function onClipboardStatusMessageChanged() {
                    if (root.appState.clipboardStatusMessage.length > 0)
                        statusTimer.restart();
                }
            }
        }
    }
}
