import QtQuick
import QtQuick.Controls
import QtQuick.Layouts
import Halcy

// A labelled choice among `choices` (maps with `text` and `value`), or `emptyText` when there are none.
SettingsRow {
    id: row

    property var choices: []
    property var current
    property string emptyText
    signal picked(var value)

    readonly property int currentIndex: {
        for (let i = 0; i < choices.length; ++i) {
            if (choices[i].value === current)
                return i;
        }
        return -1;
    }

    Text {
        visible: row.choices.length === 0
        text: row.emptyText
        color: Theme.tertiaryText
        font.pixelSize: 13
    }
    ComboBox {
        visible: row.choices.length > 0
        implicitWidth: 190
        model: row.choices
        textRole: "text"
        currentIndex: row.currentIndex
        Accessible.name: row.label
        onActivated: index => row.picked(row.choices[index].value)
    }
}
