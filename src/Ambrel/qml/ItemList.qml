pragma ComponentBehavior: Bound
import QtQuick
import QtQuick.Controls
import QtQuick.Layouts
import Ambrel

// The focus's children with their share of the focus, by size or by name; Enter or a double
// click on a folder focuses it. `hoveredNode` is shared with the ring both ways.
ColumnLayout {
    id: list

    required property AppModel appModel
    property int hoveredNode: -1
    property string sortKey: "size"
    readonly property alias view: rows

    signal menuRequested(string path)

    spacing: 2

    function sorted(items: var): var {
        const copy = items.slice()
        if (list.sortKey === "name")
            copy.sort((a, b) => a.name.localeCompare(b.name))
        return copy
    }

    RowLayout {
        Layout.fillWidth: true
        Button {
            text: "Name"
            flat: true
            highlighted: list.sortKey === "name"
            onClicked: list.sortKey = "name"
            Accessible.name: text
        }
        Item { Layout.fillWidth: true }
        Button {
            text: "Size"
            flat: true
            highlighted: list.sortKey === "size"
            onClicked: list.sortKey = "size"
            Accessible.name: text
        }
    }

    ListView {
        id: rows

        objectName: "itemList"
        Layout.fillWidth: true
        Layout.fillHeight: true
        clip: true
        activeFocusOnTab: true
        keyNavigationEnabled: true
        model: list.sorted(list.appModel.items)
        ScrollBar.vertical: ScrollBar {}
        Accessible.role: Accessible.List
        Accessible.name: "Items"

        function openCurrent() {
            const item = rows.model[rows.currentIndex]
            if (item && item.folder) list.appModel.focusOn(item.node)
        }
        function menuForCurrent() {
            const item = rows.model[rows.currentIndex]
            if (item) list.menuRequested(item.path)
        }

        Keys.onReturnPressed: rows.openCurrent()
        Keys.onEnterPressed: rows.openCurrent()
        Keys.onPressed: event => {
            if (event.key === Qt.Key_Menu || (event.key === Qt.Key_F10 && (event.modifiers & Qt.ShiftModifier))) {
                rows.menuForCurrent()
                event.accepted = true
            }
        }
        onCurrentIndexChanged: if (activeFocus && rows.model[rows.currentIndex]) list.hoveredNode = rows.model[rows.currentIndex].node

        delegate: ListRow {
            id: row

            required property var modelData
            required property int index

            width: rows.width
            height: 30
            name: row.modelData.name
            current: rows.activeFocus && rows.currentIndex === row.index
            // Marks the row for assistive technology; ListRow's own interface answers for it.
            Accessible.role: Accessible.ListItem
            onActivated: if (row.modelData.folder) list.appModel.focusOn(row.modelData.node)
            onMenuRequested: {
                rows.currentIndex = row.index
                list.menuRequested(row.modelData.path)
            }

            Rectangle {
                anchors.fill: parent
                color: list.hoveredNode === row.modelData.node || row.current ? Theme.row : "transparent"
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
                anchors.fill: parent
                hoverEnabled: true
                // Qt 6.4's type descriptions lack Qt::MouseButtons, so the linter cannot check this.
                acceptedButtons: Qt.LeftButton | Qt.RightButton // qmllint disable
                onContainsMouseChanged: list.hoveredNode = containsMouse ? row.modelData.node : -1
                onClicked: mouse => {
                    rows.currentIndex = row.index
                    if (mouse.button === Qt.RightButton) row.menuRequested()
                }
                onDoubleClicked: row.activated()
            }
        }
    }
}
