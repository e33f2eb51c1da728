import QtQuick
import QtQuick.Layouts
import Halcy

SettingsPage {
    id: page

    SettingsSection {
        title: "Halcy"
        AboutCard { versionLine: page.settings.versionLine }
    }
    SettingsSection {
        title: "Software"
        AboutRow { settings: page.settings }
    }
    Item { Layout.preferredHeight: 8 }
}
