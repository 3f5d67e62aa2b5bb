import QtQuick
import QtQuick.Controls
import Ambrel

// The ring with what surrounds it: the scan's count in the centre, the hovered slice's
// caption below.
Item {
    id: view

    required property AppModel appModel
    required property bool reduceMotion

    RingItem {
        id: ring

        objectName: "ring"
        anchors.fill: parent
        model: view.appModel
        level: view.appModel.fullness
        dark: Theme.dark
        reduceMotion: view.reduceMotion
        onFolderClicked: node => view.appModel.focusOn(node)
        onCenterClicked: view.appModel.goUp()
    }
    Label {
        readonly property var progress: view.appModel.progress

        anchors.centerIn: parent
        visible: view.appModel.phase === AppModel.Phase.Scanning || view.appModel.phase === AppModel.Phase.Updating
        horizontalAlignment: Text.AlignHCenter
        color: Theme.text
        text: view.appModel.phase === AppModel.Phase.Updating ? "Updating…"
            : progress.filesText === undefined ? "Scanning…"
            : progress.filesText + " items\n" + progress.bytesText
    }
    Label {
        anchors.horizontalCenter: parent.horizontalCenter
        anchors.bottom: parent.bottom
        visible: ring.hoveredIndex >= 0
        color: Theme.text
        text: ring.hoveredText
    }
}
