import QtQuick
import QtQuick.Controls
import QtQuick.Layouts
import Ambrel

// One entry of the Cleanup List: its name, size and caution, shown in the file manager or
// taken out of the list.
Item {
    id: entry

    required property AppModel appModel
    required property var entryData

    implicitHeight: 40
    Accessible.role: Accessible.ListItem
    Accessible.name: entryData.name
    Accessible.description: entryData.path

    Rectangle {
        anchors.fill: parent
        color: entry.activeFocus || removeButton.activeFocus || showButton.activeFocus ? Theme.row : "transparent"
        radius: 4
    }
    RowLayout {
        anchors.fill: parent
        anchors.leftMargin: 8
        anchors.rightMargin: 4
        spacing: 8

        ColumnLayout {
            Layout.fillWidth: true
            spacing: 0
            Label {
                Layout.fillWidth: true
                text: entry.entryData.name
                color: Theme.text
                elide: Text.ElideMiddle
            }
            Label {
                Layout.fillWidth: true
                text: entry.entryData.caution !== "" ? "⚠ " + entry.entryData.caution : entry.entryData.path
                color: entry.entryData.caution !== "" ? Theme.warning : Theme.secondaryText
                font.pointSize: 8
                elide: Text.ElideMiddle
            }
        }
        Label {
            Layout.preferredWidth: 80
            horizontalAlignment: Text.AlignRight
            text: CleanupTexts.size(entry.entryData.bytes)
            color: Theme.text
        }
        Button {
            id: showButton
            text: "Show in Files"
            flat: true
            Accessible.name: text
            onClicked: DesktopActions.showInFiles(entry.entryData.path)
            // Qt Quick's buttons leave the accessible press to the item, which must honour `enabled`.
            Accessible.onPressAction: if (enabled) clicked()
        }
        Button {
            id: removeButton
            text: "Remove from the Cleanup List"
            flat: true
            Accessible.name: text
            onClicked: entry.appModel.unstage(entry.entryData.id)
            Accessible.onPressAction: if (enabled) clicked()
        }
    }
}
