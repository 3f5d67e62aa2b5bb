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
    property ScanFileChooser scanFileDialog: null
    property SettingsWindow settingsWindow: null

    width: 1100
    height: 720
    // Below this the toolbar's buttons, the list's columns and the storage line would clip.
    minimumWidth: 900
    minimumHeight: 560
    visible: true
    title: "Ambrel"
    color: Theme.window
    // The keyboard belongs to the window from the start, even where no window manager gives it.
    Component.onCompleted: requestActivate()

    Shortcut {
        sequence: "Ctrl+R"
        onActivated: window.appModel.scanAgain()
    }
    Shortcut {
        sequences: ["Ctrl+[", "Backspace"]
        onActivated: window.appModel.goUp()
    }
    Shortcut {
        sequence: "Escape"
        // The search closes on its own Escape.
        enabled: (window.appModel.phase === AppModel.Phase.Scanning
            || window.appModel.phase === AppModel.Phase.Updating) && !searchView.visible
        onActivated: window.appModel.stopScan()
    }

    Shortcut {
        sequence: "Ctrl+,"
        onActivated: {
            if (!window.settingsWindow)
                window.settingsWindow = settingsMaker.createObject(window, { appModel: window.appModel }) as SettingsWindow
            window.settingsWindow.show()
            window.settingsWindow.raise()
        }
    }

    // Delete reviews the Cleanup List wherever the keyboard is; the sheet's own Escape closes it.
    Shortcut {
        sequence: "Delete"
        enabled: window.appModel.lowTide.length > 0 && !reviewSheet.visible
        onActivated: reviewSheet.review(false)
    }

    Shortcut {
        sequence: "Ctrl+F"
        onActivated: searchView.show()
    }
    SearchView {
        id: searchView
        appModel: window.appModel
        onMenuRequested: (node, path, folder, anchor, x, y) => itemMenu.openFor(node, path, folder, anchor, x, y)
        onReveal: (folder, node) => {
            window.appModel.section = AppModel.Section.Explorer
            window.appModel.focusOn(folder)
            ringView.ring.showNode(node)
        }
    }

    ItemMenu {
        id: itemMenu
        appModel: window.appModel
    }

    ReviewSheet {
        id: reviewSheet
        appModel: window.appModel
    }

    Component {
        id: folderChooser
        FolderChooser {}
    }
    Component {
        id: scanFileChooser
        ScanFileChooser {}
    }
    Component {
        id: settingsMaker
        SettingsWindow {}
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
        onSearch: searchView.show()
        onOpenScan: {
            if (!window.scanFileDialog)
                window.scanFileDialog = scanFileChooser.createObject(window, {
                    appModel: window.appModel,
                    currentFolder: window.homeFolder
                }) as ScanFileChooser
            window.scanFileDialog.open()
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

        RowLayout {
            Layout.fillWidth: true
            PaneSwitcher {
                appModel: window.appModel
            }
            Breadcrumbs {
                appModel: window.appModel
                visible: window.appModel.section === AppModel.Section.Explorer
                Layout.fillWidth: true
            }
        }

        ChangesBar {
            id: changesBar
            comparison: window.appModel.comparison
            visible: window.appModel.section === AppModel.Section.Explorer
                && window.appModel.comparison.available
            Layout.fillWidth: true
        }

        StackLayout {
            Layout.fillWidth: true
            Layout.fillHeight: true
            currentIndex: {
                switch (window.appModel.section) {
                case AppModel.Section.LowTide:
                    return 1
                case AppModel.Section.Shoreline:
                    return 2
                case AppModel.Section.History:
                    return 3
                }
                return 0
            }

            RowLayout {
                spacing: 12

                RingView {
                    id: ringView
                    appModel: window.appModel
                    onMenuRequested: (node, path, folder, anchor, x, y) => itemMenu.openFor(node, path, folder, anchor, x, y)
                    onHoveredNodeChanged: itemList.hoveredNode = ringView.hoveredNode
                    reduceMotion: window.reduceMotion
                    Layout.fillWidth: true
                    Layout.fillHeight: true
                    Layout.preferredWidth: 3
                }

                ColumnLayout {
                    visible: !whatChanged.visible
                    Layout.fillWidth: true
                    Layout.fillHeight: true
                    Layout.preferredWidth: 2
                    spacing: 8

                    ItemList {
                        id: itemList
                        appModel: window.appModel
                        onMenuRequested: (node, path, folder, anchor, x, y) => itemMenu.openFor(node, path, folder, anchor, x, y)
                        onHoveredNodeChanged: ringView.ring.showNode(itemList.hoveredNode)
                        Layout.fillWidth: true
                        Layout.fillHeight: true
                    }

                    KindLegend {
                        appModel: window.appModel
                        Layout.fillWidth: true
                    }
                }

                WhatChanged {
                    id: whatChanged
                    appModel: window.appModel
                    visible: changesBar.visible && changesBar.showingChanges
                    onReveal: node => ringView.ring.showNode(node)
                    Layout.fillWidth: true
                    Layout.fillHeight: true
                    Layout.preferredWidth: 2
                }
            }

            CleanupPane {
                appModel: window.appModel
                onReview: permanent => reviewSheet.review(permanent)
            }

            SuggestionsPane {
                appModel: window.appModel
                onMenuRequested: (path, anchor, x, y) => itemMenu.openFor(window.appModel.nodeOf(path), path, false, anchor, x, y)
            }

            // Made when first shown: the chart library is loaded only for it.
            Loader {
                readonly property bool shown: window.appModel.section === AppModel.Section.History
                onShownChanged: if (shown && !item) setSource("HistoryPane.qml", { appModel: window.appModel })
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
