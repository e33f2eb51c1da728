import QtQuick
import QtQuick.Controls
import QtQuick.Layouts
import Halcy

// The search field (built only while the hub is on screen) and the Clear menu.
RowLayout {
    id: searchBar

    required property HubController hub

    // The Menu key or Shift+F10: the selected row's menu.
    signal rowMenuRequested()

    // Menus take the keyboard while open and do not give it back by themselves.
    function focusField() {
        if (searchLoader.item)
            searchLoader.item.forceActiveFocus();
    }

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
                active: searchBar.hub.shown
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
                    text: searchBar.hub.appState.searchQuery
                    onTextEdited: searchBar.hub.search(text)
                    Accessible.name: "Search clipboard"

                    Keys.onPressed: event => {
                        const alt = (event.modifiers & Qt.AltModifier) !== 0;
                        const ctrl = (event.modifiers & Qt.ControlModifier) !== 0;
                        const selected = searchBar.hub.model.selectedRow;
                        if (event.key === Qt.Key_Delete && (ctrl || text.length === 0) && selected >= 0) {
                            // Plain Delete edits the search while there is one.
                            searchBar.hub.deleteRow(selected);
                        } else if (ctrl && event.key === Qt.Key_P && selected >= 0) {
                            searchBar.hub.togglePinRow(selected);
                        } else if (event.key === Qt.Key_Menu
                                   || (event.key === Qt.Key_F10 && (event.modifiers & Qt.ShiftModifier))) {
                            searchBar.rowMenuRequested();
                        } else if (event.key === Qt.Key_Down) {
                            searchBar.hub.moveSelection(1);
                        } else if (event.key === Qt.Key_Up) {
                            searchBar.hub.moveSelection(-1);
                        } else if (event.key === Qt.Key_Return || event.key === Qt.Key_Enter) {
                            searchBar.hub.activateSelection(alt);
                        } else if (alt && event.key >= Qt.Key_1 && event.key <= Qt.Key_9) {
                            searchBar.hub.pasteQuickNumber(event.key - Qt.Key_0);
                        } else if (event.key === Qt.Key_Escape) {
                            searchBar.hub.requestClose();
                        } else {
                            return;
                        }
                        event.accepted = true;
                    }
                }
            }
            HubIconButton {
                visible: searchBar.hub.appState.searchQuery.length > 0
                iconName: "clear"
                label: "Clear search"
                iconSize: 13
                implicitWidth: 22
                implicitHeight: 22
                onClicked: {
                    searchBar.hub.search("");
                    searchBar.focusField();
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
        onClicked: clearMenu.popup(clearButton, clearButton.width - clearMenu.width, clearButton.height)

        Menu {
            id: clearMenu
            objectName: "clearMenu"
            margins: 6
            onClosed: searchBar.focusField()
            MenuItem {
                text: "Clear last 30 minutes"
                onTriggered: searchBar.hub.clearRecentHistory()
            }
            MenuItem {
                text: "Clear all history"
                onTriggered: searchBar.hub.clearHistory()
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
