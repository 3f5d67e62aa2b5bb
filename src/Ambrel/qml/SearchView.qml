pragma ComponentBehavior: Bound
import QtQuick
import QtQuick.Controls
import QtQuick.Layouts
import Ambrel

// Finds items of the whole tree by name, size and age, the largest first. Results update as
// the name is typed; Down moves from the field to the results, Enter shows the result in the
// ring, Space adds it to the Cleanup List, the menu key opens its menu, Escape closes.
Popup {
    id: search

    required property AppModel appModel
    readonly property SearchResults results: search.appModel.search

    // The context menu of `node` is wanted at (x, y) in `anchor`.
    signal menuRequested(int node, string path, bool folder, Item anchor, real x, real y)
    // The ring should centre on `folder` and point at `node` in it.
    signal reveal(int folder, int node)

    objectName: "searchView"
    parent: Overlay.overlay
    x: 40
    y: 40
    width: parent ? parent.width - 80 : 600
    height: parent ? parent.height - 80 : 400
    modal: true
    focus: true
    closePolicy: Popup.CloseOnEscape | Popup.CloseOnPressOutside
    padding: 12

    function show() {
        search.open()
        field.forceActiveFocus()
        field.selectAll()
    }

    function revealRow(index: int) {
        const folder = search.results.folderToShow(index)
        if (folder < 0)
            return
        const node = search.results.nodeAt(index)
        search.close()
        search.reveal(folder, node)
    }

    background: Rectangle {
        color: Theme.window
        border.color: Theme.accent
        radius: 6
    }

    ColumnLayout {
        anchors.fill: parent
        spacing: 8

        RowLayout {
            Layout.fillWidth: true
            spacing: 8

            TextField {
                id: field
                objectName: "searchField"
                Layout.fillWidth: true
                placeholderText: "Name, or a pattern such as *.iso"
                text: search.results.text
                Accessible.name: "Search by name"
                onTextEdited: search.results.text = field.text
                Keys.onDownPressed: {
                    if (rows.count === 0)
                        return
                    rows.currentIndex = 0
                    rows.forceActiveFocus()
                }
                Keys.onReturnPressed: search.revealRow(0)
                Keys.onEnterPressed: search.revealRow(0)
            }
            Label {
                text: "Larger than"
                color: Theme.secondaryText
                Accessible.name: text
            }
            ComboBox {
                id: sizeChoice
                objectName: "largerThan"
                textRole: "text"
                valueRole: "bytes"
                model: [{ text: "Any size", bytes: 0 }, { text: "1 MB", bytes: 1e6 },
                    { text: "10 MB", bytes: 1e7 }, { text: "100 MB", bytes: 1e8 },
                    { text: "1 GB", bytes: 1e9 }, { text: "10 GB", bytes: 1e10 }]
                Accessible.name: "Larger than " + displayText
                onActivated: search.results.largerThan = sizeChoice.currentValue
                Component.onCompleted: currentIndex = indexOfValue(search.results.largerThan)
            }
            Label {
                text: "Not modified for"
                color: Theme.secondaryText
                Accessible.name: text
            }
            ComboBox {
                id: ageChoice
                objectName: "notModifiedFor"
                textRole: "text"
                valueRole: "days"
                model: [{ text: "Any time", days: 0 }, { text: "30 days", days: 30 },
                    { text: "90 days", days: 90 }, { text: "1 year", days: 365 },
                    { text: "2 years", days: 730 }]
                Accessible.name: "Not modified for " + displayText
                onActivated: search.results.notModifiedDays = ageChoice.currentValue
                Component.onCompleted: currentIndex = indexOfValue(search.results.notModifiedDays)
            }
        }

        Label {
            objectName: "searchSummary"
            Layout.fillWidth: true
            text: search.results.summary !== "" ? search.results.summary
                : "Type a name, or choose a size or an age."
            color: Theme.secondaryText
            Accessible.name: text
        }

        ListView {
            id: rows

            objectName: "searchResults"
            Layout.fillWidth: true
            Layout.fillHeight: true
            clip: true
            activeFocusOnTab: true
            keyNavigationEnabled: true
            model: search.results
            ScrollBar.vertical: ScrollBar {}
            Accessible.role: Accessible.List
            Accessible.name: "Search results"

            // The keyboard keeps its row when the tree changes under the results (an item
            // removed, a folder caught up): the same item, or the one now in its place.
            property string heldPath: ""
            property int heldRow: -1
            property bool resetting: false
            onCurrentIndexChanged: {
                if (resetting || currentIndex < 0)
                    return
                heldPath = search.results.pathAt(currentIndex)
                heldRow = currentIndex
            }
            function restoreHeldRow() {
                resetting = false
                if (count > 0 && heldRow >= 0)
                    currentIndex = search.results.rowNear(heldPath, heldRow)
            }
            Component.onCompleted: {
                search.results.rowsAboutToChange.connect(() => rows.resetting = true)
                search.results.queryChanged.connect(() => rows.heldRow = -1)
                search.results.resultsChanged.connect(rows.restoreHeldRow)
            }

            Keys.onReturnPressed: search.revealRow(rows.currentIndex)
            Keys.onEnterPressed: search.revealRow(rows.currentIndex)
            Keys.onSpacePressed: {
                const node = search.results.nodeAt(rows.currentIndex)
                if (node >= 0)
                    search.appModel.toggleStaged(node)
            }
            Keys.onUpPressed: event => {
                if (rows.currentIndex > 0) {
                    rows.decrementCurrentIndex()
                } else {
                    field.forceActiveFocus()
                }
            }
            Keys.onPressed: event => {
                if (event.key === Qt.Key_Menu || (event.key === Qt.Key_F10 && (event.modifiers & Qt.ShiftModifier))) {
                    const row = rows.currentItem as ListRow
                    if (row)
                        row.menuRequested()
                    event.accepted = true
                }
            }

            delegate: ListRow {
                id: row

                required property int index
                required property var model
                // Read again whenever the Cleanup List changes.
                readonly property int stageState: search.appModel.lowTide.length >= 0
                    ? search.appModel.stageState(row.model.node) : 0
                readonly property string mark: row.stageState === 1 ? "In the Cleanup List"
                    : row.stageState === 2 ? "Inside a folder in the Cleanup List" : ""

                width: rows.width
                height: 40
                name: row.model.name
                description: row.model.size + ", in " + row.model.folderPath + (row.mark === "" ? "" : ", " + row.mark)
                current: rows.activeFocus && rows.currentIndex === row.index
                Accessible.role: Accessible.ListItem
                onActivated: search.revealRow(row.index)
                onMenuRequested: {
                    rows.currentIndex = row.index
                    search.menuRequested(row.model.node, row.model.path, row.model.isFolder, row, 12, row.height)
                }

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

                    ColumnLayout {
                        Layout.fillWidth: true
                        spacing: 0
                        Label {
                            Layout.fillWidth: true
                            text: row.model.name + (row.model.isFolder ? "/" : "")
                            color: Theme.text
                            elide: Text.ElideMiddle
                        }
                        Label {
                            Layout.fillWidth: true
                            text: row.model.folderPath
                            color: Theme.secondaryText
                            font.pixelSize: 11
                            elide: Text.ElideMiddle
                        }
                    }
                    Label {
                        visible: row.mark !== ""
                        text: row.mark
                        color: Theme.accent
                        font.pixelSize: 11
                    }
                    Label {
                        Layout.preferredWidth: 80
                        horizontalAlignment: Text.AlignRight
                        text: row.model.size
                        color: Theme.text
                    }
                }
                MouseArea {
                    id: hover
                    anchors.fill: parent
                    hoverEnabled: true
                    // Qt 6.4's type descriptions lack Qt::MouseButtons, so the linter cannot check this.
                    acceptedButtons: Qt.LeftButton | Qt.RightButton // qmllint disable
                    onClicked: mouse => {
                        rows.currentIndex = row.index
                        rows.forceActiveFocus()
                        if (mouse.button === Qt.RightButton)
                            search.menuRequested(row.model.node, row.model.path, row.model.isFolder, row, mouse.x, mouse.y)
                    }
                    onDoubleClicked: search.revealRow(row.index)
                }
            }
        }
    }
}
