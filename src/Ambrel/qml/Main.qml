import QtQuick
import QtQuick.Controls
import QtQuick.Dialogs
import QtQuick.Layouts
import QtQuick.Window
import Ambrel

ApplicationWindow {
    id: window
    width: 1100
    height: 720
    visible: true
    title: "Ambrel"

    readonly property bool uiDark: darkAppearance
    readonly property color uiWindow: uiDark ? "#1e1f22" : "#f6f6f4"
    readonly property color uiText: uiDark ? "#e8e8e6" : "#1d1d1f"
    readonly property color uiSecondary: uiDark ? "#9a9a9e" : "#6e6e73"
    readonly property color uiRow: uiDark ? "#2c2d31" : "#e9e9e6"
    readonly property bool scanning: appModel.phase === 1 // scanning
    color: uiWindow

    Shortcut { sequence: "Ctrl+R"; onActivated: appModel.scanAgain() }
    Shortcut { sequence: "Ctrl+["; onActivated: appModel.goUp() }

    // Made on first use: building the dialog slows the window's first frame.
    property var folderDialog: null
    Component {
        id: folderDialogComponent
        FolderDialog {
            title: "Choose Folder…"
            currentFolder: homeFolder
            onAccepted: appModel.chooseFolder(decodeURIComponent(selectedFolder.toString().replace(/^file:\/\//, "")))
        }
    }

    header: ToolBar {
        objectName: "toolbar"
        RowLayout {
            anchors.fill: parent
            anchors.leftMargin: 8
            anchors.rightMargin: 8
            ToolButton { text: "Startup Disk"; checkable: true; checked: appModel.targetKind === 1; onClicked: appModel.showStartupDisk() }
            ToolButton { text: "Home"; checkable: true; checked: appModel.targetKind === 2; onClicked: appModel.showHome() }
            ToolButton { objectName: "chooseFolder"; text: "Choose Folder…"; onClicked: {
                    if (!window.folderDialog) window.folderDialog = folderDialogComponent.createObject(window)
                    window.folderDialog.open()
                }
            }
            Item { Layout.fillWidth: true }
            ToolButton {
                text: "Go up one level"
                enabled: appModel.focus !== 0
                onClicked: appModel.goUp()
                ToolTip.visible: hovered
                ToolTip.text: "Go up one level (Ctrl+[)"
            }
            ToolButton {
                text: "Scan again from scratch"
                enabled: appModel.phase === 3 // ready
                onClicked: appModel.scanAgain()
                ToolTip.visible: hovered
                ToolTip.text: "Scan again from scratch (Ctrl+R)"
            }
        }
    }

    ColumnLayout {
        anchors.fill: parent
        anchors.margins: 12
        spacing: 8

        Label {
            objectName: "notice"
            Layout.fillWidth: true
            visible: appModel.noticeText !== ""
            text: appModel.noticeText
            color: appModel.noticeIsWarning ? "#d9480f" : window.uiText
            elide: Text.ElideRight
        }

        Flow {
            id: breadcrumbs
            objectName: "breadcrumbs"
            Layout.fillWidth: true
            spacing: 4
            Repeater {
                model: appModel.breadcrumbItems
                delegate: Row {
                    spacing: 4
                    Label { text: index > 0 ? "›" : ""; color: window.uiSecondary; visible: index > 0 }
                    Label {
                        text: modelData.name
                        color: window.uiText
                        font.bold: index === appModel.breadcrumbItems.length - 1
                        MouseArea { anchors.fill: parent; onClicked: appModel.focusOn(modelData.node) }
                    }
                }
            }
        }

        RowLayout {
            Layout.fillWidth: true
            Layout.fillHeight: true
            spacing: 12

            Item {
                Layout.fillWidth: true
                Layout.fillHeight: true
                Layout.preferredWidth: 3
                RingItem {
                    id: ring
                    objectName: "ring"
                    anchors.fill: parent
                }
                Label {
                    anchors.centerIn: parent
                    visible: window.scanning || appModel.phase === 2
                    horizontalAlignment: Text.AlignHCenter
                    color: window.uiText
                    text: appModel.phase === 2 ? "Updating…"
                        : appModel.progress.filesText === undefined ? "Scanning…"
                        : appModel.progress.filesText + " items\n" + appModel.progress.bytesText
                }
                Label {
                    anchors.horizontalCenter: parent.horizontalCenter
                    anchors.bottom: parent.bottom
                    visible: ring.hoveredIndex >= 0
                    color: window.uiText
                    text: ring.hoveredIndex >= 0 ? appModel.segmentText(ring.hoveredIndex) : ""
                }
            }

            ListView {
                id: list
                objectName: "itemList"
                Layout.fillWidth: true
                Layout.fillHeight: true
                Layout.preferredWidth: 2
                clip: true
                model: appModel.items
                ScrollBar.vertical: ScrollBar {}
                delegate: Rectangle {
                    width: list.width
                    height: 30
                    color: rowArea.containsMouse ? window.uiRow : "transparent"
                    RowLayout {
                        anchors.fill: parent
                        anchors.leftMargin: 6
                        anchors.rightMargin: 6
                        spacing: 8
                        Label {
                            Layout.fillWidth: true
                            text: modelData.name + (modelData.folder ? "/" : "")
                            color: window.uiText
                            elide: Text.ElideMiddle
                        }
                        Rectangle {
                            // Drawn before the row's text, so the bars of all rows merge into
                            // one draw call.
                            z: -1
                            Layout.preferredWidth: 60
                            Layout.preferredHeight: 6
                            color: window.uiRow
                            Rectangle {
                                width: parent.width * modelData.share
                                height: parent.height
                                color: "#4c8bf5"
                            }
                        }
                        Label {
                            Layout.preferredWidth: 46
                            horizontalAlignment: Text.AlignRight
                            text: Math.round(modelData.share * 100) + " %"
                            color: window.uiSecondary
                        }
                        Label {
                            Layout.preferredWidth: 80
                            horizontalAlignment: Text.AlignRight
                            text: modelData.size
                            color: window.uiText
                        }
                    }
                    MouseArea {
                        id: rowArea
                        anchors.fill: parent
                        hoverEnabled: true
                        onDoubleClicked: if (modelData.folder) appModel.focusOn(modelData.node)
                    }
                }
            }
        }

        ProgressBar {
            objectName: "scanProgress"
            Layout.fillWidth: true
            visible: window.scanning
            indeterminate: appModel.progress.fraction === undefined || appModel.progress.fraction < 0
            value: appModel.progress.fraction === undefined ? 0 : Math.max(0, appModel.progress.fraction)
        }

        ColumnLayout {
            objectName: "storageBar"
            Layout.fillWidth: true
            visible: appModel.storage.used !== undefined
            spacing: 4
            Row {
                Layout.fillWidth: true
                height: 10
                readonly property real w: parent.width
                Rectangle { width: parent.w * (appModel.storage.used || 0); height: 10; color: "#4c8bf5" }
                Rectangle { width: parent.w * (appModel.storage.hidden || 0); height: 10; color: "#8e8e93" }
                Rectangle { width: parent.w * (appModel.storage.purgeable || 0); height: 10; color: "#c7a4f2" }
                Rectangle { width: parent.w * (appModel.storage.free || 0); height: 10; color: window.uiRow }
            }
            Label {
                color: window.uiSecondary
                text: "Used " + appModel.storage.usedText + "   ·   Hidden & system " + appModel.storage.hiddenText
                    + "   ·   Purgeable " + appModel.storage.purgeableText + "   ·   Free " + appModel.storage.freeText
                    + " of " + appModel.storage.totalText
            }
        }
    }
}
