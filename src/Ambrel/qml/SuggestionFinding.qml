import QtQuick
import QtQuick.Controls
import QtQuick.Layouts
import Ambrel

// One finding: its tick box, name, path, reason and size, and where it stands against the
// Cleanup List. A right click opens the item menu for its path.
Item {
    id: finding

    required property AppModel appModel
    required property var findingData

    // The Cleanup List and the ticks are read again whenever they change.
    readonly property int stageState: appModel.lowTide.length >= 0
        ? appModel.pathStageState(findingData.path) : 0
    readonly property bool ticked: appModel.checkedCount >= 0 && appModel.isChecked(findingData.path)
    readonly property string mark: stageState === 2
        ? "Already in the Cleanup List as part of a folder you ticked"
        : stageState === 1 ? "In the Cleanup List" : ""

    signal menuRequested(string path, Item anchor, real x, real y)

    implicitHeight: row.implicitHeight + 8

    MouseArea {
        anchors.fill: parent
        acceptedButtons: Qt.RightButton // qmllint disable
        onClicked: mouse => finding.menuRequested(finding.findingData.path, finding, mouse.x, mouse.y)
    }

    RowLayout {
        id: row
        anchors.fill: parent
        anchors.topMargin: 4
        anchors.bottomMargin: 4
        spacing: 8

        CheckBox {
            id: tick
            checked: finding.ticked
            Accessible.name: finding.findingData.name
            Accessible.description: finding.findingData.reason
            // The model owns the tick: the box's own changes (a click, an assistive toggle) are
            // passed on, and the binding brings back the model's answer.
            onCheckedChanged: if (checked !== finding.ticked)
                finding.appModel.setChecked(finding.findingData.path, checked)
            // The menu from the keyboard, as on the explorer's rows.
            Keys.onPressed: event => {
                if (event.key === Qt.Key_Menu || (event.key === Qt.Key_F10 && (event.modifiers & Qt.ShiftModifier))) {
                    finding.menuRequested(finding.findingData.path, tick, 0, tick.height)
                    event.accepted = true
                }
            }
        }
        Rectangle {
            Layout.preferredWidth: 8
            Layout.preferredHeight: 8
            radius: 4
            color: SafetyLook.colour(finding.findingData.safety)
        }
        ColumnLayout {
            Layout.fillWidth: true
            spacing: 0
            Label {
                Layout.fillWidth: true
                text: finding.findingData.name
                color: Theme.text
                elide: Text.ElideMiddle
            }
            Label {
                Layout.fillWidth: true
                text: finding.findingData.shownPath
                color: Theme.secondaryText
                font.pointSize: 8
                elide: Text.ElideMiddle
            }
            Label {
                Layout.fillWidth: true
                text: finding.findingData.reason
                color: Theme.secondaryText
                wrapMode: Text.WordWrap
                Accessible.name: text
            }
            Label {
                objectName: "findingMark"
                Layout.fillWidth: true
                visible: finding.mark !== ""
                text: finding.mark
                color: Theme.accent
                font.pointSize: 8
                Accessible.name: text
            }
        }
        Label {
            Layout.preferredWidth: 80
            horizontalAlignment: Text.AlignRight
            text: CleanupTexts.size(finding.findingData.bytes)
            color: Theme.text
        }
    }
}
