pragma ComponentBehavior: Bound
import QtQuick
import QtQuick.Controls
import QtQuick.Layouts
import Ambrel

// "Changes since DATE" when the shown target has a previous scan: the ring's growth colours
// (with their key while on) and the "What changed" view beside the ring.
RowLayout {
    id: bar

    required property ScanComparison comparison
    property bool showingChanges: false

    spacing: 10

    Label {
        objectName: "changesSince"
        text: bar.comparison.sinceText
        color: Theme.text
        font.bold: true
        Accessible.role: Accessible.StaticText
        Accessible.name: text
    }
    CheckBox {
        text: "Colour by growth"
        checked: bar.comparison.byGrowth
        // Also when assistive technology toggles it, which emits no `toggled`.
        onCheckedChanged: bar.comparison.byGrowth = checked
        Accessible.name: text
    }
    Button {
        text: "What changed"
        checkable: true
        checked: bar.showingChanges
        onCheckedChanged: bar.showingChanges = checked
        Accessible.name: text
    }
    Repeater {
        model: bar.comparison.byGrowth
            ? [{ name: "Grown", color: Theme.grown }, { name: "Shrunk", color: Theme.shrunk },
                { name: "New", color: Theme.added }, { name: "Unchanged", color: Theme.unchanged }]
            : []
        delegate: Row {
            id: key
            required property var modelData
            spacing: 4
            Rectangle {
                anchors.verticalCenter: parent.verticalCenter
                width: 10
                height: 10
                radius: 2
                color: key.modelData.color
            }
            Label {
                text: key.modelData.name
                color: Theme.secondaryText
                Accessible.name: text
            }
        }
    }
    Item { Layout.fillWidth: true }
}
