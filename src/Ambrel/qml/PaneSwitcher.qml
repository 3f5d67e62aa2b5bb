pragma ComponentBehavior: Bound
import QtQuick
import QtQuick.Controls
import Ambrel

// The controls that switch the panes, each named after its pane with its figure beside it;
// Ctrl+1 to Ctrl+4 select them in this order.
Row {
    id: switcher

    required property AppModel appModel

    spacing: 4

    // What each pane holds, in a few characters.
    function figure(section: int): string {
        const model = switcher.appModel
        switch (section) {
        case AppModel.Section.Explorer:
            return model.breadcrumbItems.length > 0 ? model.breadcrumbItems[0].size : ""
        case AppModel.Section.Shoreline:
            if (model.shorelinePhase === AppModel.ShorelinePhase.Analyzing)
                return "…"
            return model.shorelinePhase === AppModel.ShorelinePhase.Ready
                ? CleanupTexts.size(model.shorelineTotal) : ""
        case AppModel.Section.LowTide:
            return model.lowTide.length > 0 ? String(model.lowTide.length) : ""
        case AppModel.Section.History:
            return model.historyDays === 1 ? "1 day"
                : model.historyDays > 1 ? model.historyDays + " days" : ""
        }
        return ""
    }

    Repeater {
        model: [{ name: "Explorer", section: AppModel.Section.Explorer },
            { name: "Suggestions", section: AppModel.Section.Shoreline },
            { name: "Cleanup List", section: AppModel.Section.LowTide },
            { name: "History", section: AppModel.Section.History }]
        delegate: Row {
            id: pane
            required property var modelData
            required property int index
            readonly property string figure: switcher.figure(modelData.section)
            spacing: 0

            Shortcut {
                sequence: "Ctrl+" + (pane.index + 1)
                onActivated: switcher.appModel.section = pane.modelData.section
            }
            Button {
                id: button
                text: pane.modelData.name
                flat: true
                highlighted: switcher.appModel.section === pane.modelData.section
                Accessible.name: text
                onClicked: switcher.appModel.section = pane.modelData.section
                // Qt Quick's buttons leave the accessible press to the item, which must honour `enabled`.
                Accessible.onPressAction: if (enabled) clicked()
            }
            Label {
                anchors.verticalCenter: button.verticalCenter
                visible: pane.figure !== ""
                leftPadding: 4
                rightPadding: 8
                text: pane.figure
                color: Theme.secondaryText
                font.pointSize: 8
                Accessible.name: text
            }
        }
    }
}
