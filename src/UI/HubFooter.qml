import QtQuick
import QtQuick.Controls
import QtQuick.Layouts
import Halcy

// The hint, or the latest status line for a few seconds, and the number of entries.
RowLayout {
    id: footer

    required property HubController hub

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
        text: statusTimer.running ? footer.hub.appState.clipboardStatusMessage
                                  : "Click to copy · Shift-click paste plain"
        color: Theme.tertiaryText
        font.pixelSize: 11
        // A message wraps rather than losing its end; the hint fits one line.
        wrapMode: Text.WordWrap
        maximumLineCount: 3
        elide: Text.ElideRight
        Layout.fillWidth: true
        Accessible.role: Accessible.StaticText
        Accessible.name: text
        Accessible.description: keysHelp.text

        HoverHandler { id: hintHover }
        ToolTip {
            id: keysHelp
            objectName: "keysHelp"
            visible: hintHover.hovered
            delay: 500
            text: "Return copies, Alt+Return pastes plain text, Alt+1…9 paste by number\n"
                  + "Delete (Ctrl+Delete while searching) deletes, Ctrl+P pins or unpins\n"
                  + "Menu key or Shift+F10 opens the row's menu"
        }
    }
    Text {
        objectName: "entryCount"
        text: footer.hub.model.count
        color: Theme.tertiaryText
        font.pixelSize: 11
        font.family: "monospace"
        Accessible.name: text + " items"
    }
    Timer {
        id: statusTimer
        // Time to read it: a short one stays 4 s, longer ones about as long as they take to read.
        interval: Math.max(4000, footer.hub.appState.clipboardStatusMessage.length * 70)
    }
    Connections {
        target: footer.hub.appState
        function onClipboardStatusMessageChanged() {
            if (footer.hub.appState.clipboardStatusMessage.length > 0)
                statusTimer.restart();
        }
    }
}
