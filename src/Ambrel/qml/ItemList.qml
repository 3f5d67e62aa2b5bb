import QtQuick
import QtQuick.Controls
import QtQuick.Layouts
import Ambrel

// The focus's children, largest first, with their share of the focus; a double click on a
// folder focuses it.
ListView {
    id: list

    required property AppModel appModel

    objectName: "itemList"
    clip: true
    model: appModel.items
    ScrollBar.vertical: ScrollBar {}

    delegate: Rectangle {
        id: row

        required property var modelData
        readonly property ItemList list: ListView.view as ItemList

        width: row.list.width
        height: 30
        color: rowArea.containsMouse ? Theme.row : "transparent"

        RowLayout {
            anchors.fill: parent
            anchors.leftMargin: 6
            anchors.rightMargin: 6
            spacing: 8

            Label {
                Layout.fillWidth: true
                text: row.modelData.name + (row.modelData.folder ? "/" : "")
                color: Theme.text
                elide: Text.ElideMiddle
            }
            Rectangle {
                // Drawn before the row's text, so the bars of all rows merge into one draw
                // call.
                z: -1
                Layout.preferredWidth: 60
                Layout.preferredHeight: 6
                color: Theme.row

                Rectangle {
                    width: parent.width * row.modelData.share
                    height: parent.height
                    color: Theme.accent
                }
            }
            Label {
                Layout.preferredWidth: 46
                horizontalAlignment: Text.AlignRight
                text: Math.round(row.modelData.share * 100) + " %"
                color: Theme.secondaryText
            }
            Label {
                Layout.preferredWidth: 80
                horizontalAlignment: Text.AlignRight
                text: row.modelData.size
                color: Theme.text
            }
        }
        MouseArea {
            id: rowArea

            anchors.fill: parent
            hoverEnabled: true
            onDoubleClicked: if (row.modelData.folder) row.list.appModel.focusOn(row.modelData.node)
        }
    }
}
