import QtQuick
import QtQuick.Controls
import QtQuick.Layouts
import Ambrel

// The targets on the left, going up and scanning again on the right.
ToolBar {
    id: toolbar

    required property AppModel appModel

    signal chooseFolder()
    signal openScan()
    signal search()

    objectName: "toolbar"

    RowLayout {
        anchors.fill: parent
        anchors.leftMargin: 8
        anchors.rightMargin: 8

        ToolButton {
            // Never checkable: a click would replace the binding with a tick of its own.
            text: "Startup Disk"
            highlighted: toolbar.appModel.targetKind === ScanTarget.StartupDisk && !toolbar.appModel.readOnly
            onClicked: toolbar.appModel.showStartupDisk()
        }
        ToolButton {
            objectName: "startupDiskMenu"
            text: "▾"
            Accessible.name: "More ways to scan the startup disk"
            onClicked: startupDiskMenu.open()
            ToolTip.visible: hovered
            ToolTip.text: "More ways to scan the startup disk"
            Menu {
                id: startupDiskMenu
                y: parent.height
                MenuItem {
                    text: "Scan as Administrator"
                    onTriggered: toolbar.appModel.scanAsAdministrator()
                }
            }
        }
        ToolButton {
            text: "Home"
            highlighted: toolbar.appModel.targetKind === ScanTarget.Home && !toolbar.appModel.readOnly
            onClicked: toolbar.appModel.showHome()
        }
        ToolButton {
            objectName: "chooseFolder"
            text: "Choose Folder…"
            onClicked: toolbar.chooseFolder()
        }
        ToolButton {
            objectName: "openScan"
            text: "Open Scan…"
            Accessible.name: text
            onClicked: toolbar.openScan()
            ToolTip.visible: hovered
            ToolTip.text: "Show a scan saved by brantle or ncdu"
        }
        Label {
            objectName: "adminScan"
            visible: toolbar.appModel.adminScan
            text: "· scanned as administrator"
        }
        Label {
            objectName: "readOnlyScan"
            visible: toolbar.appModel.readOnly
            text: "· opened from a file, read-only"
        }
        Item {
            Layout.fillWidth: true
        }
        ToolButton {
            objectName: "search"
            text: "Search"
            Accessible.name: text
            onClicked: toolbar.search()
            Accessible.onPressAction: toolbar.search()
            ToolTip.visible: hovered
            ToolTip.text: "Find items by name, size or age (Ctrl+F)"
        }
        ToolButton {
            objectName: "stop"
            text: "Stop"
            visible: toolbar.appModel.phase === AppModel.Phase.Scanning
                || toolbar.appModel.phase === AppModel.Phase.Updating
            onClicked: toolbar.appModel.stopScan()
            Accessible.onPressAction: toolbar.appModel.stopScan()
            ToolTip.visible: hovered
            ToolTip.text: "Stop (Esc)"
        }
        ToolButton {
            text: "Go up one level"
            enabled: toolbar.appModel.focus !== 0
            onClicked: toolbar.appModel.goUp()
            ToolTip.visible: hovered
            ToolTip.text: "Go up one level (Ctrl+[)"
        }
        ToolButton {
            text: "Scan again from scratch"
            // An opened scan's files are elsewhere; there is nothing here to scan again.
            enabled: toolbar.appModel.phase === AppModel.Phase.Ready && !toolbar.appModel.readOnly
            onClicked: toolbar.appModel.scanAgain()
            ToolTip.visible: hovered
            ToolTip.text: "Scan again from scratch (Ctrl+R)"
        }
    }
}
