import QtQuick
import Halcy

// What one cover shows. The backdrop (the screen's wallpaper, or its blur) arrives a moment after the
// window; until then, and when there is none, the material drawing stands in.
Item {
    id: root

    required property string fill
    required property color solidColor
    required property color materialColor
    property string backdrop: ""

    readonly property bool showsBackdrop: (fill === "matchWallpaper" || fill === "blur")
                                          && backdropImage.status === Image.Ready

    Accessible.role: Accessible.Pane
    Accessible.name: "Desktop icons hidden"

    Rectangle {
        anchors.fill: parent
        visible: root.fill !== "solidInk" && !root.showsBackdrop
        // Without a wallpaper to blur, a lighter material reads as the frosted glass it stands for.
        color: root.fill === "blur" ? Qt.lighter(root.materialColor, 1.08) : root.materialColor

        Rectangle {
            anchors.fill: parent
            visible: root.fill !== "blur"
            color: Theme.ink
            opacity: 0.08
        }
    }

    Image {
        id: backdropImage
        anchors.fill: parent
        visible: root.showsBackdrop
        source: root.backdrop
        fillMode: Image.PreserveAspectCrop
        horizontalAlignment: Image.AlignHCenter
        verticalAlignment: Image.AlignVCenter
        clip: true
        smooth: true
        cache: false
        asynchronous: false
    }

    Rectangle {
        anchors.fill: parent
        visible: root.fill === "blur"
        color: "black"
        opacity: 0.05
    }

    Rectangle {
        anchors.fill: parent
        visible: root.fill === "solidInk"
        color: Qt.rgba(root.solidColor.r, root.solidColor.g, root.solidColor.b, 1)
    }
}
