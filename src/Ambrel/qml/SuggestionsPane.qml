pragma ComponentBehavior: Bound
import QtQuick
import QtQuick.Controls
import QtQuick.Layouts
import Ambrel

// What could be cleaned up and why, a card per category largest first; the ticked findings
// join the Cleanup List in one go.
Item {
    id: pane

    required property AppModel appModel
    readonly property var categories: appModel.shoreline
    readonly property bool analyzing: appModel.shorelinePhase === AppModel.ShorelinePhase.Analyzing
    readonly property bool ready: appModel.shorelinePhase === AppModel.ShorelinePhase.Ready

    signal menuRequested(string path, Item anchor, real x, real y)

    objectName: "suggestionsPane"

    ColumnLayout {
        anchors.fill: parent
        anchors.margins: 8
        spacing: 8

        Label {
            text: "Suggestions"
            font.pointSize: 16
            font.bold: true
            color: Theme.text
            Accessible.role: Accessible.Heading
            Accessible.name: text
        }
        Label {
            objectName: "suggestionsHeadline"
            Layout.fillWidth: true
            visible: pane.ready && pane.categories.length > 0
            text: "Found " + CleanupTexts.size(pane.appModel.shorelineTotal) + " you could clean up. Safe ones start ticked."
            color: Theme.text
            wrapMode: Text.WordWrap
            Accessible.name: text
        }
        RowLayout {
            visible: pane.analyzing
            BusyIndicator {
                running: parent.visible
                Layout.preferredWidth: 24
                Layout.preferredHeight: 24
            }
            Label {
                text: "Looking for things to clean up…"
                color: Theme.secondaryText
                Accessible.name: text
            }
        }
        Label {
            objectName: "suggestionsEmpty"
            Layout.fillWidth: true
            Layout.topMargin: 40
            horizontalAlignment: Text.AlignHCenter
            wrapMode: Text.WordWrap
            visible: !pane.analyzing && pane.categories.length === 0
            text: pane.ready ? "Nothing to clean up here. Everything Ambrel looks for is already tidy."
                : "Suggestions appear once a scan has finished."
            color: Theme.secondaryText
            Accessible.name: text
        }

        ListView {
            id: cards
            Layout.fillWidth: true
            Layout.fillHeight: true
            visible: pane.categories.length > 0
            clip: true
            spacing: 8
            model: pane.categories
            ScrollBar.vertical: ScrollBar {}
            Accessible.role: Accessible.List
            Accessible.name: "Suggestions"
            delegate: SuggestionCard {
                required property var modelData
                width: cards.width - 12
                appModel: pane.appModel
                category: modelData
                onMenuRequested: (path, anchor, x, y) => pane.menuRequested(path, anchor, x, y)
            }
        }
        Item {
            Layout.fillHeight: true
            visible: !cards.visible
        }

        RowLayout {
            Layout.fillWidth: true
            visible: pane.categories.length > 0
            spacing: 8
            Label {
                objectName: "tickedLine"
                Layout.fillWidth: true
                text: pane.appModel.checkedCount + " ticked · " + CleanupTexts.size(pane.appModel.checkedBytes)
                color: Theme.secondaryText
                Accessible.name: text
            }
            Button {
                objectName: "addTicked"
                text: "Add ticked to the Cleanup List"
                highlighted: true
                enabled: pane.appModel.checkedCount > 0
                Accessible.name: text
                onClicked: pane.appModel.sendCheckedToLowTide()
                // Qt Quick's buttons leave the accessible press to the item, which must honour `enabled`.
                Accessible.onPressAction: if (enabled) clicked()
            }
        }
    }
}
