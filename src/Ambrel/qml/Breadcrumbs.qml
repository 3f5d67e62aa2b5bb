pragma ComponentBehavior: Bound
import QtQuick
import QtQuick.Controls
import Ambrel

// The path from the root to the focus; a click (or Enter) focuses that folder. The tooltip
// gives the focus's full path.
Flow {
    id: breadcrumbs

    required property AppModel appModel
    readonly property var items: appModel.breadcrumbItems

    objectName: "breadcrumbs"
    spacing: 2

    HoverHandler {
        id: hover
    }
    ToolTip.visible: hover.hovered && breadcrumbs.items.length > 0
    ToolTip.delay: 500
    ToolTip.text: breadcrumbs.items.length > 0 ? breadcrumbs.items[breadcrumbs.items.length - 1].path : ""

    Repeater {
        model: breadcrumbs.items
        delegate: Row {
            id: crumb

            required property var modelData
            required property int index

            spacing: 2

            Label {
                text: "›"
                color: Theme.secondaryText
                visible: crumb.index > 0
                anchors.verticalCenter: parent.verticalCenter
                Accessible.ignored: true
            }
            ToolButton {
                text: crumb.modelData.name
                font.bold: crumb.index === breadcrumbs.items.length - 1
                Accessible.name: text
                onClicked: breadcrumbs.appModel.focusOn(crumb.modelData.node)
            }
        }
    }
}
