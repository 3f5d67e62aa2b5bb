pragma ComponentBehavior: Bound
import QtQuick
import QtQuick.Controls
import QtQuick.Layouts
import Ambrel

// The folders and files that grew or shrank most since the previous scan, largest change
// first: path, old size, new size and change. Enter on a row shows its item in the ring,
// if it is still there.
ColumnLayout {
    id: changes

    required property AppModel appModel
    readonly property alias view: rows

    // The ring should point at `node`, which the focus now holds.
    signal reveal(int node)

    spacing: 2

    function open(item: var) {
        const node = changes.appModel.nodeOf(item.path)
        if (node < 0) {
            changes.appModel.showWarning("“" + item.shownPath + "” is no longer there.")
            return
        }
        if (item.folder) {
            changes.appModel.focusOn(node)
        } else {
            const cut = item.path.lastIndexOf("/")
            changes.appModel.focusOn(changes.appModel.nodeOf(cut > 0 ? item.path.substring(0, cut) : "/"))
        }
        changes.reveal(node)
    }

    Label {
        text: "What changed"
        font.bold: true
        color: Theme.text
        Accessible.role: Accessible.Heading
        Accessible.name: text
    }
    Label {
        visible: rows.count === 0
        text: "Nothing changed."
        color: Theme.secondaryText
        Accessible.name: text
    }

    ListView {
        id: rows

        objectName: "whatChanged"
        Layout.fillWidth: true
        Layout.fillHeight: true
        clip: true
        activeFocusOnTab: true
        keyNavigationEnabled: true
        model: changes.appModel.comparison.largest
        ScrollBar.vertical: ScrollBar {}
        Accessible.role: Accessible.List
        Accessible.name: "What changed"

        Keys.onReturnPressed: if (rows.model[rows.currentIndex]) changes.open(rows.model[rows.currentIndex])
        Keys.onEnterPressed: if (rows.model[rows.currentIndex]) changes.open(rows.model[rows.currentIndex])

        delegate: ListRow {
            id: row

            required property var modelData
            required property int index

            width: rows.width
            height: 30
            name: row.modelData.shownPath
            description: row.modelData.oldSize + " → " + row.modelData.newSize + ", " + row.modelData.change
            current: rows.activeFocus && rows.currentIndex === row.index
            Accessible.role: Accessible.ListItem
            onActivated: changes.open(row.modelData)

            Rectangle {
                anchors.fill: parent
                color: row.current || hover.containsMouse ? Theme.row : "transparent"
                border.width: row.current ? 1 : 0
                border.color: Theme.accent
            }
            RowLayout {
                anchors.fill: parent
                anchors.leftMargin: 6
                anchors.rightMargin: 6
                spacing: 8

                Label {
                    Layout.fillWidth: true
                    text: row.modelData.shownPath
                    color: Theme.text
                    elide: Text.ElideMiddle
                }
                Label {
                    Layout.preferredWidth: 64
                    horizontalAlignment: Text.AlignRight
                    text: row.modelData.oldSize
                    color: Theme.secondaryText
                }
                Label {
                    text: "→"
                    color: Theme.secondaryText
                }
                Label {
                    Layout.preferredWidth: 64
                    text: row.modelData.newSize
                    color: Theme.text
                }
                Label {
                    Layout.preferredWidth: 72
                    horizontalAlignment: Text.AlignRight
                    text: row.modelData.change
                    color: row.modelData.change === "new" ? Theme.added
                        : row.modelData.grew ? Theme.grown : Theme.shrunk
                    font.bold: true
                }
            }
            MouseArea {
                id: hover
                anchors.fill: parent
                hoverEnabled: true
                onClicked: rows.currentIndex = row.index
                onDoubleClicked: row.activated()
            }
        }
    }
}
