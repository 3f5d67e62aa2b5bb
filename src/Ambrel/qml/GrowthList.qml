pragma ComponentBehavior: Bound
import QtQuick
import QtQuick.Controls
import QtQuick.Layouts
import Ambrel

// The folders that grew over a span, largest first: name, path, growth and a bar against
// the largest.
ColumnLayout {
    id: growth

    required property string title
    required property var rows

    spacing: 4

    Label {
        text: growth.title
        font.bold: true
        color: Theme.text
        Accessible.role: Accessible.Heading
        Accessible.name: text
    }
    Label {
        visible: growth.rows.length === 0
        text: "No folder grew over this span."
        color: Theme.secondaryText
        Accessible.name: text
    }
    ListView {
        Layout.fillWidth: true
        Layout.fillHeight: true
        clip: true
        spacing: 6
        model: growth.rows
        delegate: Item {
            id: row
            required property var modelData
            width: ListView.view.width
            height: 40
            Accessible.role: Accessible.ListItem
            Accessible.name: modelData.path + ", " + modelData.sizeText

            Label {
                id: nameLabel
                anchors.left: parent.left
                anchors.right: sizeLabel.left
                anchors.rightMargin: 8
                text: row.modelData.name
                color: Theme.text
                elide: Text.ElideRight
            }
            Label {
                id: sizeLabel
                anchors.right: parent.right
                text: row.modelData.sizeText
                color: Theme.text
            }
            Label {
                id: pathLabel
                anchors.top: nameLabel.bottom
                anchors.left: parent.left
                anchors.right: parent.right
                text: row.modelData.path
                color: Theme.secondaryText
                font.pointSize: 8
                elide: Text.ElideMiddle
            }
            Rectangle {
                anchors.top: pathLabel.bottom
                anchors.topMargin: 2
                anchors.left: parent.left
                width: Math.max(2, parent.width * row.modelData.share)
                height: 4
                radius: 2
                color: Theme.accent
            }
        }
    }
}
