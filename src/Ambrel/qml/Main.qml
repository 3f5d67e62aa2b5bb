import QtQuick
import QtQuick.Window
import Ambrel

Window {
    id: window
    width: 1000
    height: 700
    visible: true
    title: "Ambrel"
    color: palette.window

    RingItem {
        id: ring
        objectName: "ring"
        anchors.fill: parent
        anchors.margins: 16
    }
}
