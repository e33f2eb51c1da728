import QtQuick
import QtQuick.Layouts
import Halcy

// A centred icon, title and one line of explanation.
Item {
    id: emptyState

    property string title
    property string description
    property string iconName

    Accessible.role: Accessible.StaticText
    Accessible.name: title + ". " + description

    ColumnLayout {
        anchors.centerIn: parent
        spacing: 6
        Icon {
            name: emptyState.iconName
            color: Theme.tertiaryText
            Layout.preferredWidth: 30
            Layout.preferredHeight: 30
            Layout.alignment: Qt.AlignHCenter
        }
        Text {
            text: emptyState.title
            color: Theme.text
            font.pixelSize: 14
            font.weight: Font.DemiBold
            Layout.alignment: Qt.AlignHCenter
        }
        Text {
            text: emptyState.description
            color: Theme.secondaryText
            font.pixelSize: 12
            Layout.alignment: Qt.AlignHCenter
        }
    }
}
