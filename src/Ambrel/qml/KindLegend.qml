pragma ComponentBehavior: Bound
import QtQuick
import QtQuick.Controls
import QtQuick.Layouts
import Ambrel

// The focused folder's space by file kind, with the switch that colours the ring by kind.
// Each row is a list item named by its kind, its size and share as its description.
ColumnLayout {
    id: legend

    required property AppModel appModel

    spacing: 2

    RowLayout {
        Layout.fillWidth: true
        Label {
            text: "File Kinds"
            font.bold: true
            color: Theme.text
            Accessible.role: Accessible.Heading
            Accessible.name: text
        }
        Item { Layout.fillWidth: true }
        CheckBox {
            objectName: "colourByKind"
            text: "Colour by Kind"
            checked: legend.appModel.colourByKind
            // Not `onToggled`: an assistive client's toggle changes `checked` without it.
            onCheckedChanged: legend.appModel.colourByKind = checked
            Accessible.name: text
        }
    }

    ListView {
        id: rows

        objectName: "kindLegend"
        Layout.fillWidth: true
        // Room for every kind from the start: the list above keeps its height whatever the
        // focus holds, and while the kinds are worked out.
        Layout.preferredHeight: 8 * 24
        interactive: false
        activeFocusOnTab: true
        keyNavigationEnabled: true
        model: legend.appModel.kinds
        Accessible.role: Accessible.List
        Accessible.name: "File Kinds"

        delegate: ListRow {
            id: row

            required property var modelData
            required property int index
            readonly property string shareText: Math.round(row.modelData.share * 100) + " %"

            width: rows.width
            height: 24
            name: row.modelData.name
            description: row.modelData.size + ", " + row.shareText
            current: rows.activeFocus && rows.currentIndex === row.index
            Accessible.role: Accessible.ListItem

            Rectangle {
                anchors.fill: parent
                color: row.current ? Theme.row : "transparent"
                border.width: row.current ? 1 : 0
                border.color: Theme.accent
            }
            RowLayout {
                anchors.fill: parent
                anchors.leftMargin: 6
                anchors.rightMargin: 6
                spacing: 8

                Rectangle {
                    Layout.preferredWidth: 12
                    Layout.preferredHeight: 12
                    radius: 3
                    color: Theme.kindColor(row.modelData.kind)
                }
                Label {
                    Layout.fillWidth: true
                    text: row.modelData.name
                    color: Theme.text
                    elide: Text.ElideRight
                }
                Label {
                    Layout.preferredWidth: 46
                    horizontalAlignment: Text.AlignRight
                    text: row.shareText
                    color: Theme.secondaryText
                }
                Label {
                    Layout.preferredWidth: 80
                    horizontalAlignment: Text.AlignRight
                    text: row.modelData.size
                    color: Theme.text
                }
            }
        }
    }
}
