import QtQuick
import QtQuick.Controls
import Ambrel

// The context menu of a row or a slice: what can be done with its path.
Menu {
    id: menu

    property string path: ""
    property AppModel appModel

    function openFor(path: string) {
        menu.path = path
        menu.popup()
    }

    MenuItem {
        text: "Add to the Cleanup List"
        enabled: menu.path !== ""
        onTriggered: menu.appModel.stage(menu.path)
    }
    MenuItem {
        text: "Show in Files"
        enabled: menu.path !== ""
        onTriggered: DesktopActions.showInFiles(menu.path)
    }
    MenuItem {
        text: "Copy Path"
        enabled: menu.path !== ""
        onTriggered: DesktopActions.copyPath(menu.path)
    }
}
