import QtQuick
import QtQuick.Controls
import QtQuick.Layouts
import Ambrel

ApplicationWindow {
    id: window

    required property AppModel appModel
    required property bool reduceMotion
    required property url homeFolder
    // Made on first use: building the dialog slows the window's first frame.
    property FolderChooser folderDialog: null

    width: 1100
    height: 720
    visible: true
    title: "Ambrel"
    color: Theme.window

    Shortcut {
        sequence: "Ctrl+R"
        onActivated: window.appModel.scanAgain()
    }
    Shortcut {
        sequence: "Ctrl+["
        onActivated: window.appModel.goUp()
    }

    Component {
        id: folderChooser
        FolderChooser {}
    }

    header: Toolbar {
        appModel: window.appModel
        onChooseFolder: {
            if (!window.folderDialog)
                window.folderDialog = folderChooser.createObject(window, {
                    appModel: window.appModel,
                    currentFolder: window.homeFolder
                }) as FolderChooser
            window.folderDialog.open()
        }
    }

    ColumnLayout {
        anchors.fill: parent
        anchors.margins: 12
        spacing: 8

        Label {
            objectName: "notice"
            Layout.fillWidth: true
            visible: window.appModel.noticeText !== ""
            text: window.appModel.noticeText
            color: window.appModel.noticeIsWarning ? Theme.warning : Theme.text
            elide: Text.ElideRight
        }

        Breadcrumbs {
            appModel: window.appModel
            Layout.fillWidth: true
        }

        RowLayout {
            Layout.fillWidth: true
            Layout.fillHeight: true
            spacing: 12

            RingView {
                appModel: window.appModel
                reduceMotion: window.reduceMotion
                Layout.fillWidth: true
                Layout.fillHeight: true
                Layout.preferredWidth: 3
            }

            ItemList {
                appModel: window.appModel
                Layout.fillWidth: true
                Layout.fillHeight: true
                Layout.preferredWidth: 2
            }
        }

        ProgressBar {
            objectName: "scanProgress"
            readonly property var progress: window.appModel.progress
            readonly property var fraction: progress.fraction
            Layout.fillWidth: true
            visible: window.appModel.phase === AppModel.Phase.Scanning
            indeterminate: fraction === undefined || fraction < 0
            value: fraction === undefined ? 0 : Math.max(0, fraction)
        }

        StorageBar {
            appModel: window.appModel
            Layout.fillWidth: true
        }
    }
}
