import QtQuick
import QtQuick.Controls
import Ambrel

// The ring with what surrounds it: the focused folder (or the scan's count) in the centre,
// the hovered slice's caption beside the pointer.
Item {
    id: view

    required property AppModel appModel
    required property bool reduceMotion
    readonly property alias ring: ring
    readonly property int hoveredNode: ring.hoveredNode
    readonly property var focusCrumb: appModel.breadcrumbItems.length > 0
        ? appModel.breadcrumbItems[appModel.breadcrumbItems.length - 1] : null

    // The context menu of `node` is wanted at (x, y) in `anchor`.
    signal menuRequested(int node, string path, bool folder, Item anchor, real x, real y)

    RingItem {
        id: ring

        objectName: "ring"
        anchors.fill: parent
        model: view.appModel
        level: view.appModel.fullness
        dark: Theme.dark
        reduceMotion: view.reduceMotion
        Accessible.role: Accessible.List
        Accessible.name: "Ring"
        onFolderClicked: node => view.appModel.focusOn(node)
        onCenterClicked: view.appModel.goUp()
        onMenuRequested: (index, x, y) => view.menuRequested(ring.sliceNode(index), ring.slicePath(index),
                                                             ring.sliceIsFolder(index), ring, x, y)
    }
    Rectangle {
        anchors.fill: ring
        color: "transparent"
        border.color: Theme.accent
        border.width: 1
        visible: ring.activeFocus
        radius: 4
    }
    HoverHandler {
        id: pointer
    }
    Label {
        readonly property var progress: view.appModel.progress
        readonly property bool working: view.appModel.phase === AppModel.Phase.Scanning
            || view.appModel.phase === AppModel.Phase.Updating

        objectName: "centreText"
        anchors.centerIn: parent
        width: Math.min(view.width, view.height) * 0.26
        visible: working || view.focusCrumb !== null
        horizontalAlignment: Text.AlignHCenter
        wrapMode: Text.Wrap
        elide: Text.ElideMiddle
        maximumLineCount: 4
        color: Theme.text
        text: view.appModel.phase === AppModel.Phase.Updating ? "Updating…"
            : view.appModel.phase === AppModel.Phase.Scanning
                ? (progress.filesText === undefined ? "Scanning…" : progress.filesText + " items\n" + progress.bytesText)
            : view.focusCrumb === null ? ""
            : view.focusCrumb.name + "\n" + view.focusCrumb.size + "\n" + view.appModel.items.length
                + (view.appModel.items.length === 1 ? " item" : " items")
    }
    Rectangle {
        objectName: "hoverCaption"
        readonly property bool byPointer: pointer.hovered && !ring.activeFocus
        visible: ring.hoveredIndex >= 0
        // Qt 6.4's type descriptions lack QPointF, so the linter cannot check the pointer's position.
        x: Math.min(view.width - width, (byPointer ? pointer.point.position.x : view.width / 2) + 14) // qmllint disable
        y: Math.min(view.height - height, (byPointer ? pointer.point.position.y : view.height - height) + (byPointer ? 14 : 0)) // qmllint disable
        width: caption.implicitWidth + 12
        height: caption.implicitHeight + 8
        radius: 4
        color: Theme.window
        border.color: Theme.row
        Label {
            id: caption
            anchors.centerIn: parent
            color: Theme.text
            // `marks` changes when the Cleanup List does, and the caption with it.
            text: ring.hoveredIndex >= 0 && ring.marks >= 0 ? ring.sliceDetails(ring.hoveredIndex) : ""
        }
    }
}
