import QtQuick
import QtQuick.Controls
import Ambrel

// The context menu of a row or a slice: the Cleanup List, and what can be done with its path.
// A scan opened from a file names items elsewhere: only its paths can be copied.
Menu {
    id: menu

    required property AppModel appModel
    property int node: -1
    property string path: ""
    property bool folder: false
    // 0 none, 1 listed, 2 inside a listed folder; read again whenever the Cleanup List changes.
    readonly property int stageState: menu.appModel.lowTide.length >= 0
        ? menu.appModel.stageState(menu.node) : 0

    function openFor(node: int, path: string, folder: bool, anchor: Item, x: real, y: real) {
        menu.node = node
        menu.path = path
        menu.folder = folder
        menu.popup(anchor, x, y)
    }

    MenuItem {
        objectName: "stageItem"
        // Inside a listed folder the item goes with it; it cannot be listed on its own.
        text: menu.stageState === 1 ? "Take Out of the Cleanup List" : "Add to the Cleanup List"
        enabled: menu.node >= 0 && menu.stageState !== 2 && !menu.appModel.readOnly
        onTriggered: menu.appModel.toggleStaged(menu.node)
    }
    MenuSeparator {}
    MenuItem {
        text: "Open"
        enabled: menu.path !== "" && !menu.appModel.readOnly
        onTriggered: menu.appModel.showWarning(DesktopActions.open(menu.path))
    }
    MenuItem {
        text: "Show in Files"
        enabled: menu.path !== "" && !menu.appModel.readOnly
        onTriggered: DesktopActions.showInFiles(menu.path)
    }
    MenuItem {
        // Only folders have one; the item stays out of the menu otherwise.
        text: "Open Terminal Here"
        visible: menu.folder
        height: visible ? implicitHeight : 0
        enabled: menu.path !== "" && menu.folder && !menu.appModel.readOnly
        onTriggered: menu.appModel.showWarning(DesktopActions.openTerminal(menu.path))
    }
    MenuItem {
        text: "Copy Path"
        enabled: menu.path !== ""
        onTriggered: DesktopActions.copyPath(menu.path)
    }
}
