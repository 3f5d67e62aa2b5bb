pragma ComponentBehavior: Bound
import QtQuick
import QtQuick.Controls
import QtQuick.Dialogs
import QtQuick.Layouts
import Ambrel

// Space Watch's switches, the folders scans leave out and the stored scans. Each switch is
// stored as it is flipped.
Window {
    id: settings

    required property AppModel appModel

    title: "Ambrel Settings"
    width: 480
    height: content.implicitHeight + 32
    minimumWidth: 420
    minimumHeight: content.implicitHeight + 32
    color: Theme.window

    Shortcut {
        sequence: "Escape"
        onActivated: settings.close()
    }

    ColumnLayout {
        id: content
        anchors.fill: parent
        anchors.margins: 16
        spacing: 6

        Label {
            text: "Space Watch"
            font.bold: true
            color: Theme.text
            Accessible.role: Accessible.Heading
            Accessible.name: text
        }
        CheckBox {
            text: "Show Space Watch in the menu bar"
            checked: settings.appModel.showMenuBar
            onToggled: settings.appModel.showMenuBar = checked
            Accessible.name: text
        }
        CheckBox {
            text: "Open Ambrel at login"
            checked: settings.appModel.openAtLogin
            onToggled: settings.appModel.openAtLogin = checked
            Accessible.name: text
        }
        Label {
            Layout.fillWidth: true
            text: "While Ambrel runs, it catches up on changes every 6 hours and records a small daily summary for History."
            color: Theme.secondaryText
            wrapMode: Text.WordWrap
            Accessible.name: text
        }

        Label {
            Layout.topMargin: 10
            text: "Alerts"
            font.bold: true
            color: Theme.text
            Accessible.role: Accessible.Heading
            Accessible.name: text
        }
        Repeater {
            model: [{ key: "alertLowSpace", text: "When free space drops below 10% (or 20 GB)" },
                { key: "alertFillingFast", text: "When the disk will fill within a week" },
                { key: "alertBigGrowth", text: "When a folder grows by 5 GB in a day" }]
            delegate: CheckBox {
                required property var modelData
                text: modelData.text
                checked: settings.appModel.alertSwitch(modelData.key)
                onToggled: settings.appModel.setAlertSwitch(modelData.key, checked)
                Accessible.name: text
            }
        }

        Label {
            Layout.topMargin: 10
            text: "Excluded folders"
            font.bold: true
            color: Theme.text
            Accessible.role: Accessible.Heading
            Accessible.name: text
        }
        Label {
            Layout.fillWidth: true
            text: "Scans, catch-ups and suggestions leave these folders out, from the next scan on."
            color: Theme.secondaryText
            wrapMode: Text.WordWrap
            Accessible.name: text
        }
        Label {
            visible: settings.appModel.excludedFolders.length === 0
            text: "No folders are left out."
            color: Theme.secondaryText
            Accessible.name: text
        }
        Repeater {
            model: settings.appModel.excludedFolders
            delegate: RowLayout {
                id: excludedRow
                required property string modelData
                Layout.fillWidth: true
                spacing: 12
                Label {
                    Layout.fillWidth: true
                    text: excludedRow.modelData
                    elide: Text.ElideMiddle
                    color: Theme.text
                    Accessible.name: text
                }
                Button {
                    text: "Remove"
                    onClicked: settings.appModel.removeExcludedFolder(excludedRow.modelData)
                    Accessible.name: "Remove " + excludedRow.modelData
                    Accessible.onPressAction: clicked()
                }
            }
        }
        Button {
            text: "Add Folder…"
            onClicked: excludedChooser.open()
            Accessible.name: text
            Accessible.onPressAction: clicked()
        }
        FolderDialog {
            id: excludedChooser
            title: "Exclude Folder"
            onAccepted: settings.appModel.addExcludedFolder(String(selectedFolder))
        }

        Label {
            Layout.topMargin: 10
            text: "Stored scans"
            font.bold: true
            color: Theme.text
            Accessible.role: Accessible.Heading
            Accessible.name: text
        }
        Label {
            Layout.fillWidth: true
            text: "Ambrel keeps each scan to open it quickly next time. Cleared scans are made afresh when next shown."
            color: Theme.secondaryText
            wrapMode: Text.WordWrap
            Accessible.name: text
        }
        RowLayout {
            spacing: 12
            Button {
                text: "Clear stored scans"
                onClicked: cleared.text = settings.appModel.clearStoredScans()
                Accessible.name: text
                Accessible.onPressAction: clicked()
            }
            Label {
                id: cleared
                objectName: "clearedScans"
                color: Theme.text
                Accessible.name: text
            }
        }
    }
}
