import QtQuick
import QtQuick.Controls
import QtQuick.Layouts
import Halcy

// A device access line of onboarding: "Allowed", or a "Request" button that checks again.
RowLayout {
    id: row

    property string title
    property bool isGranted
    signal requested()

    Layout.fillWidth: true

    Text {
        Layout.fillWidth: true
        text: row.title
        color: Theme.text
        font.pixelSize: 13
    }
    Text {
        visible: row.isGranted
        text: "Allowed"
        color: "#2f9e55"
        font.pixelSize: 13
        Accessible.role: Accessible.StaticText
        Accessible.name: row.title + ": Allowed"
    }
    Button {
        visible: !row.isGranted
        text: "Request"
        Accessible.name: "Request " + row.title
        onClicked: row.requested()
    }
}
