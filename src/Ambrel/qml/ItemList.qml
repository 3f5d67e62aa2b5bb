pragma ComponentBehavior: Bound
import QtQuick
import QtQuick.Controls
import QtQuick.Layouts
import Ambrel

// The focus's children with their share of the focus, by size or by name; Enter or a double
// click on a folder focuses it, Space adds the row to the Cleanup List or takes it out.
// `hoveredNode` is shared with the ring both ways.
ColumnLayout {
    id: list

    required property AppModel appModel
    property int hoveredNode: -1
    property string sortKey: "size"
    readonly property alias view: rows

    // The context menu of `node` is wanted at (x, y) in `anchor`.
    signal menuRequested(int node, string path, bool folder, Item anchor, real x, real y)

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
            const row = rows.currentItem as ListRow
            if (row) row.menuRequested()
        }

        Keys.onReturnPressed: rows.openCurrent()
        Keys.onEnterPressed: rows.openCurrent()
        Keys.onSpacePressed: {
            const item = rows.model[rows.currentIndex]
            if (item) list.appModel.toggleStaged(item.node)
        }
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
            // Read again whenever the Cleanup List changes.
            readonly property int stageState: list.appModel.lowTide.length >= 0
                ? list.appModel.stageState(row.modelData.node) : 0
            // Read again whenever the comparison with the previous scan changes.
            readonly property string change: list.appModel.comparison.revision >= 0
                ? list.appModel.comparison.changeText(row.modelData.node) : ""
            readonly property string mark: [row.modelData.unreadable ? "Could not be read" : "",
                row.stageState === 1 ? "In the Cleanup List"
                : row.stageState === 2 ? "Inside a folder in the Cleanup List" : ""]
                .filter(text => text !== "").join(", ")

            width: rows.width
            height: 30
            name: row.modelData.name
            description: row.modelData.size + ", " + Math.round(row.modelData.share * 100) + " %"
                + (row.change === "" ? "" : ", " + row.change)
                + (row.mark === "" ? "" : ", " + row.mark)
            current: rows.activeFocus && rows.currentIndex === row.index
            // Marks the row for assistive technology; ListRow's own interface answers for it.
            Accessible.role: Accessible.ListItem
            onActivated: if (row.modelData.folder) list.appModel.focusOn(row.modelData.node)
            onMenuRequested: {
                rows.currentIndex = row.index
                list.menuRequested(row.modelData.node, row.modelData.path, row.modelData.folder,
                                   row, 12, row.height)
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
                Label {
                    objectName: "rowMark"
                    visible: row.mark !== ""
                    text: row.mark
                    color: row.modelData.unreadable ? Theme.warning : Theme.accent
                    font.pixelSize: 11
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
                Label {
                    objectName: "rowChange"
                    visible: list.appModel.comparison.available
                    Layout.preferredWidth: 72
                    horizontalAlignment: Text.AlignRight
                    text: row.change
                    color: row.change === "new" ? Theme.added
                        : row.change.startsWith("+") ? Theme.grown : Theme.shrunk
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
                    if (mouse.button === Qt.RightButton)
                        list.menuRequested(row.modelData.node, row.modelData.path, row.modelData.folder,
                                           row, mouse.x, mouse.y)
                }
                onDoubleClicked: row.activated()
            }
        }
    }
}
