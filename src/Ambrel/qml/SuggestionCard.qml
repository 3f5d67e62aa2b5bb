pragma ComponentBehavior: Bound
import QtQuick
import QtQuick.Controls
import QtQuick.Layouts
import Ambrel

// One category of suggestions: its title, blurb, safety and totals; pressing the header lists
// its findings. Duplicates stand in groups under the copy that is kept.
Rectangle {
    id: card

    required property AppModel appModel
    required property var category
    property bool expanded: false

    signal menuRequested(string path, Item anchor, real x, real y)

    implicitHeight: column.implicitHeight + 16
    radius: 6
    color: Theme.row
    border.width: 1
    border.color: Qt.alpha(SafetyLook.colour(category.safety), 0.5)

    ColumnLayout {
        id: column
        anchors.fill: parent
        anchors.margins: 8
        spacing: 4

        AbstractButton {
            id: header
            Layout.fillWidth: true
            padding: 4
            background: Rectangle {
                radius: 4
                color: header.hovered || header.visualFocus ? Qt.alpha(Theme.accent, 0.12) : "transparent"
            }
            Accessible.name: card.category.title
            Accessible.description: SafetyLook.word(card.category.safety) + " · "
                + card.totalsText + ". " + card.category.blurb
            onClicked: card.expanded = !card.expanded
            Accessible.onPressAction: clicked()
            contentItem: RowLayout {
                spacing: 10
                Label {
                    text: card.expanded ? "▾" : "▸"
                    color: Theme.secondaryText
                }
                ColumnLayout {
                    Layout.fillWidth: true
                    spacing: 2
                    Label {
                        text: card.category.title
                        font.bold: true
                        color: Theme.text
                    }
                    Label {
                        Layout.fillWidth: true
                        text: card.category.blurb
                        color: Theme.secondaryText
                        wrapMode: Text.WordWrap
                    }
                }
                Label {
                    text: SafetyLook.word(card.category.safety)
                    color: "white"
                    font.pointSize: 8
                    font.bold: true
                    leftPadding: 6
                    rightPadding: 6
                    topPadding: 2
                    bottomPadding: 2
                    background: Rectangle {
                        radius: 4
                        color: SafetyLook.colour(card.category.safety)
                    }
                }
                // A fixed width keeps the safety badges of all cards in one column.
                ColumnLayout {
                    Layout.preferredWidth: 90
                    Layout.fillWidth: false
                    spacing: 0
                    Label {
                        Layout.fillWidth: true
                        horizontalAlignment: Text.AlignRight
                        text: CleanupTexts.size(card.category.total)
                        font.bold: true
                        color: Theme.text
                    }
                    Label {
                        Layout.fillWidth: true
                        horizontalAlignment: Text.AlignRight
                        text: CleanupTexts.size(card.category.safeTotal) + " safe"
                        color: Theme.secondaryText
                        font.pointSize: 8
                    }
                }
            }
        }

        Repeater {
            model: card.expanded ? card.category.findings : []
            delegate: ColumnLayout {
                id: entry
                required property var modelData
                required property int index
                // A group's header before its first copy: the copy that stays.
                readonly property bool startsGroup: modelData.group !== ""
                    && (index === 0 || card.category.findings[index - 1].group !== modelData.group)
                Layout.fillWidth: true
                Layout.leftMargin: modelData.group !== "" ? 16 : 0
                spacing: 0
                Label {
                    visible: entry.startsGroup
                    Layout.topMargin: 6
                    text: "Kept: " + entry.modelData.group
                    color: Theme.text
                    font.italic: true
                    elide: Text.ElideMiddle
                    Layout.fillWidth: true
                    Accessible.name: text
                }
                SuggestionFinding {
                    Layout.fillWidth: true
                    appModel: card.appModel
                    findingData: entry.modelData
                    onMenuRequested: (path, anchor, x, y) => card.menuRequested(path, anchor, x, y)
                }
            }
        }
    }

    readonly property string totalsText: CleanupTexts.size(category.total) + ", "
        + CleanupTexts.size(category.safeTotal) + " safe"
}
