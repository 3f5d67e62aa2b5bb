pragma ComponentBehavior: Bound
import QtQuick
import QtQuick.Controls
import QtQuick.Layouts
import Ambrel

// The confirmation before anything is removed: reviewing the Cleanup List with its warnings,
// working while the removal runs, then the result with what could not be moved.
Dialog {
    id: sheet

    required property AppModel appModel
    property bool permanent: false
    property string stage: "reviewing"
    // The entries as they were when the review opened; the list changes under a removal.
    property var entries: []
    readonly property var cautioned: entries.filter(entry => entry.caution !== "")
    readonly property double totalBytes: entries.reduce((sum, entry) => sum + entry.bytes, 0)
    readonly property var outcome: appModel.trashResult

    function review(permanent: bool) {
        if (sheet.appModel.lowTide.length === 0 || sheet.visible)
            return
        sheet.permanent = permanent
        sheet.entries = sheet.appModel.lowTide
        sheet.stage = "reviewing"
        warningsRead.checked = false
        sheet.open()
    }

    function confirm() {
        if (sheet.stage !== "reviewing")
            return
        sheet.stage = "working"
        if (sheet.permanent)
            sheet.appModel.deleteImmediately()
        else
            sheet.appModel.moveToTrash()
    }

    objectName: "reviewSheet"
    modal: true
    focus: true
    anchors.centerIn: Overlay.overlay
    width: Math.min(560, parent ? parent.width - 80 : 560)
    // Nothing may close the sheet while the removal runs: its result would be lost.
    closePolicy: stage === "working" ? Popup.NoAutoClose : Popup.CloseOnEscape
    title: stage === "result"
        ? CleanupTexts.headline(outcome.movedCount || 0, outcome.movedBytes || 0, outcome.permanent || false)
        : CleanupTexts.title(entries.length, permanent)

    // The model brings a new result when the removal this sheet started has finished.
    onOutcomeChanged: if (stage === "working") stage = "result"

    ColumnLayout {
        width: parent.width
        spacing: 10

        Label {
            Layout.fillWidth: true
            visible: sheet.stage !== "result"
            text: CleanupTexts.body(sheet.totalBytes, sheet.permanent)
            wrapMode: Text.WordWrap
        }
        Repeater {
            model: sheet.stage === "result" ? [] : sheet.cautioned
            delegate: Label {
                required property var modelData
                Layout.fillWidth: true
                text: "⚠ " + modelData.name + ": " + modelData.caution
                Accessible.name: text
                color: Theme.warning
                wrapMode: Text.WordWrap
            }
        }
        CheckBox {
            id: warningsRead
            Layout.fillWidth: true
            visible: sheet.stage === "reviewing" && sheet.cautioned.length > 0
            text: CleanupTexts.warningsRead(sheet.cautioned.length, sheet.entries.length)
            Accessible.name: text
            Accessible.onToggleAction: if (enabled) toggle()
            Accessible.onPressAction: if (enabled) toggle()
        }
        BusyIndicator {
            visible: sheet.stage === "working"
            running: visible
        }
        Label {
            Layout.fillWidth: true
            visible: sheet.stage === "result"
            text: CleanupTexts.afterRemoval(sheet.outcome.permanent || false)
            wrapMode: Text.WordWrap
        }
        Label {
            visible: sheet.stage === "result" && (sheet.outcome.failures || []).length > 0
            text: "Not moved:"
            font.bold: true
        }
        Repeater {
            model: sheet.stage === "result" ? sheet.outcome.failures || [] : []
            delegate: Label {
                required property string modelData
                Layout.fillWidth: true
                text: modelData
                color: Theme.warning
                wrapMode: Text.WordWrap
            }
        }
    }

    footer: Pane {
        background: null
        contentItem: RowLayout {
            spacing: 8
            Item {
                Layout.fillWidth: true
            }
            Button {
                text: "Cancel"
                visible: sheet.stage !== "result"
                enabled: sheet.stage === "reviewing"
                Accessible.name: text
                onClicked: sheet.close()
                // Qt Quick's buttons leave the accessible press to the item, which must honour `enabled`.
                Accessible.onPressAction: if (enabled) clicked()
            }
            Button {
                objectName: "confirmRemoval"
                text: sheet.permanent ? "Delete Permanently" : "Move to Trash"
                visible: sheet.stage !== "result"
                enabled: sheet.stage === "reviewing" && (sheet.cautioned.length === 0 || warningsRead.checked)
                highlighted: true
                Accessible.name: text
                onClicked: sheet.confirm()
                Accessible.onPressAction: if (enabled) clicked()
            }
            Button {
                text: "Open Trash"
                visible: sheet.stage === "result" && !(sheet.outcome.permanent || false)
                Accessible.name: text
                onClicked: DesktopActions.openTrash()
                Accessible.onPressAction: if (enabled) clicked()
            }
            Button {
                text: "Done"
                visible: sheet.stage === "result"
                highlighted: true
                Accessible.name: text
                onClicked: sheet.close()
                Accessible.onPressAction: if (enabled) clicked()
            }
        }
    }
}
