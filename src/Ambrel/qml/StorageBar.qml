import QtQuick
import QtQuick.Controls
import QtQuick.Layouts
import Ambrel

// The volume's space split into used, hidden & system, purgeable and free.
ColumnLayout {
    id: bar

    required property AppModel appModel
    readonly property var storage: appModel.storage

    objectName: "storageBar"
    visible: storage.used !== undefined
    spacing: 4

    Row {
        Layout.fillWidth: true
        height: 10

        Rectangle { width: bar.width * (bar.storage.used || 0); height: 10; color: Theme.accent }
        Rectangle { width: bar.width * (bar.storage.hidden || 0); height: 10; color: Theme.hiddenSpace }
        Rectangle { width: bar.width * (bar.storage.purgeable || 0); height: 10; color: Theme.purgeableSpace; visible: width > 0 }
        Rectangle { width: bar.width * (bar.storage.free || 0); height: 10; color: Theme.row }
    }
    Label {
        color: Theme.secondaryText
        text: "Used " + bar.storage.usedText + "   ·   Hidden & system " + bar.storage.hiddenText
            + (bar.storage.purgeable > 0 ? "   ·   Purgeable " + bar.storage.purgeableText : "") + "   ·   Free " + bar.storage.freeText
            + " of " + bar.storage.totalText
    }
}
