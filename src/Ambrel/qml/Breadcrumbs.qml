import QtQuick
import QtQuick.Controls
import Ambrel

// The path from the root to the focus; a click focuses that folder.
Flow {
    id: breadcrumbs

    required property AppModel appModel

    objectName: "breadcrumbs"
    spacing: 4

    Repeater {
        model: breadcrumbs.appModel.breadcrumbItems
        delegate: Row {
            id: crumb

            required property var modelData
            required property int index
            readonly property Breadcrumbs breadcrumbs: parent as Breadcrumbs

            spacing: 4

            Label {
                text: "›"
                color: Theme.secondaryText
                visible: crumb.index > 0
            }
            Label {
                text: crumb.modelData.name
                color: Theme.text
                font.bold: crumb.breadcrumbs !== null && crumb.index === crumb.breadcrumbs.appModel.breadcrumbItems.length - 1

                MouseArea {
                    anchors.fill: parent
                    onClicked: crumb.breadcrumbs.appModel.focusOn(crumb.modelData.node)
                }
            }
        }
    }
}
