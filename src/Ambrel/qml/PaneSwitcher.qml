pragma ComponentBehavior: Bound
import QtQuick
import QtQuick.Controls
import Ambrel

// The controls that switch the panes, each named after its pane.
Row {
    id: switcher

    required property AppModel appModel

    spacing: 4

    Repeater {
        model: [{ name: "Explorer", section: AppModel.Section.Explorer },
            { name: "Cleanup List", section: AppModel.Section.LowTide }]
        delegate: Button {
            required property var modelData
            text: modelData.name
            flat: true
            highlighted: switcher.appModel.section === modelData.section
            Accessible.name: text
            onClicked: switcher.appModel.section = modelData.section
            // Qt Quick's buttons leave the accessible press to the item, which must honour `enabled`.
            Accessible.onPressAction: if (enabled) clicked()
        }
    }
}
