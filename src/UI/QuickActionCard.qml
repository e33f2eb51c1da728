import QtQuick
import QtQuick.Layouts
import Halcy

// One tool card: click toggles the tool; a disabled card is dimmed and ignores clicks.
Rectangle {
    id: card

    property string title
    property string subtitle
    property string iconName
    property bool isOn: false
    property bool isEnabled: true

    signal activated()

    implicitHeight: 62
    radius: 10
    opacity: isEnabled ? 1.0 : 0.45
    color: isOn ? Theme.accent : (hover.hovered && isEnabled ? Theme.cardHover : Theme.card)
    border.color: isOn ? Theme.accent : Theme.border
    border.width: 1

    activeFocusOnTab: isEnabled
    Accessible.role: Accessible.CheckBox
    Accessible.name: title
    Accessible.description: subtitle
    Accessible.checkable: true
    Accessible.checked: isOn
    Accessible.onPressAction: if (isEnabled) card.activated()
    Keys.onSpacePressed: if (isEnabled) card.activated()

    HoverHandler { id: hover; enabled: card.isEnabled }
    TapHandler {
        enabled: card.isEnabled
        onTapped: card.activated()
    }

    Rectangle {
        anchors.fill: parent
        anchors.margins: -2
        radius: card.radius + 2
        color: "transparent"
        border.color: Theme.accent
        border.width: 2
        visible: card.activeFocus
    }

    RowLayout {
        anchors.fill: parent
        anchors.margins: 10
        spacing: 9

        Icon {
            name: card.iconName
            color: card.isOn ? "white" : Theme.text
            Layout.preferredWidth: 20
            Layout.preferredHeight: 20
        }
        ColumnLayout {
            spacing: 2
            Layout.fillWidth: true
            Text {
                text: card.title
                color: card.isOn ? "white" : Theme.text
                font.pixelSize: 13
                font.weight: Font.DemiBold
                elide: Text.ElideRight
                Layout.fillWidth: true
            }
            Text {
                text: card.subtitle
                color: card.isOn ? Qt.rgba(1, 1, 1, 0.8) : Theme.secondaryText
                font.pixelSize: 10
                elide: Text.ElideRight
                Layout.fillWidth: true
            }
        }
    }
}
