pragma ComponentBehavior: Bound
import QtQuick
import QtQuick.Controls
import QtQuick.Layouts
import Ambrel

// What the user gathered for removal, with the two ways to remove it. Files dragged here from
// a file manager join the list.
Item {
    id: pane

    required property AppModel appModel
    readonly property var entries: appModel.lowTide

    signal review(bool permanent)

    objectName: "cleanupPane"

    DropArea {
        id: drop
        anchors.fill: parent
        keys: ["text/uri-list"]
        onDropped: event => {
            for (const url of event.urls) {
                const text = url.toString()
                if (text.startsWith("file://"))
                    pane.appModel.stage(decodeURIComponent(text.substring(7)))
            }
            event.acceptProposedAction()
        }
    }
    Rectangle {
        anchors.fill: parent
        visible: drop.containsDrag
        color: "transparent"
        border.width: 2
        border.color: Theme.accent
        radius: 6
    }

    ColumnLayout {
        anchors.fill: parent
        anchors.margins: 8
        spacing: 8

        Label {
            text: "Cleanup List"
            font.pointSize: 16
            font.bold: true
            color: Theme.text
            Accessible.role: Accessible.Heading
            Accessible.name: text
        }
        RowLayout {
            visible: pane.appModel.shorelinePhase === AppModel.ShorelinePhase.Analyzing
            BusyIndicator {
                running: parent.visible
                Layout.preferredWidth: 24
                Layout.preferredHeight: 24
            }
            Label {
                text: "Waiting for Suggestions to finish"
                color: Theme.secondaryText
                Accessible.name: text
            }
        }

        ColumnLayout {
            objectName: "cleanupEmpty"
            visible: pane.entries.length === 0
            Layout.fillWidth: true
            Layout.fillHeight: true
            Layout.topMargin: 40
            spacing: 8
            Label {
                Layout.fillWidth: true
                horizontalAlignment: Text.AlignHCenter
                text: "Nothing staged"
                font.pointSize: 14
                color: Theme.text
                Accessible.name: text
            }
            Label {
                Layout.fillWidth: true
                Layout.leftMargin: 80
                Layout.rightMargin: 80
                text: "Tick the box beside an item, drag things here, or right-click a slice. Nothing is removed until you review and confirm. Then it goes to the Trash, unless you choose to delete it for good."
                horizontalAlignment: Text.AlignHCenter
                wrapMode: Text.WordWrap
                color: Theme.secondaryText
                Accessible.name: text
            }
            Item {
                Layout.fillHeight: true
            }
        }

        Label {
            objectName: "cleanupCount"
            visible: pane.entries.length > 0
            text: CleanupTexts.countLine(pane.entries.length, pane.appModel.stagedBytes)
            color: Theme.secondaryText
            Accessible.name: text
        }
        ListView {
            id: list
            visible: pane.entries.length > 0
            Layout.fillWidth: true
            Layout.fillHeight: true
            clip: true
            spacing: 2
            model: pane.entries
            ScrollBar.vertical: ScrollBar {}
            Accessible.role: Accessible.List
            Accessible.name: "Cleanup List"
            delegate: CleanupEntry {
                required property var modelData
                width: list.width
                appModel: pane.appModel
                entryData: modelData
            }
        }

        RowLayout {
            Layout.fillWidth: true
            spacing: 8
            Item {
                Layout.fillWidth: true
            }
            Button {
                objectName: "deleteImmediately"
                text: "Delete Immediately…"
                enabled: pane.entries.length > 0
                Accessible.name: text
                Accessible.description: deleteHint.text
                onClicked: pane.review(true)
                // Qt Quick's buttons leave the accessible press to the item, which must honour `enabled`.
                Accessible.onPressAction: if (enabled) clicked()
            }
            Button {
                objectName: "reviewAndMove"
                // "&&": a single one would mark a mnemonic.
                text: "Review && Move to Trash…"
                enabled: pane.entries.length > 0
                highlighted: true
                Accessible.name: "Review & Move to Trash…"
                onClicked: pane.review(false)
                Accessible.onPressAction: if (enabled) clicked()
            }
        }
        Label {
            id: deleteHint
            Layout.fillWidth: true
            horizontalAlignment: Text.AlignRight
            visible: pane.entries.length > 0
            text: "Skip the Trash and delete these now. Faster than emptying the Trash, but there's no Put Back."
            color: Theme.secondaryText
            font.pointSize: 8
        }
    }
}
