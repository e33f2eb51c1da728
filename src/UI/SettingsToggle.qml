import QtQuick
import QtQuick.Controls
import QtQuick.Layouts
import Halcy

// A labelled switch. `checked` is bound by the page; `toggled(on)` reports what the user chose.
SettingsRow {
    id: row

    property bool checked
    signal toggled(bool on)

    Switch {
        id: control
        checked: row.checked
        Accessible.name: row.label
        // A click sets the switch without removing this binding, so a change that did not stick snaps
        // back when the page announces its value again.
        onToggled: row.toggled(checked)
    }
}
