import QtQuick.Dialogs
import Ambrel

// "Choose Folder…": the chosen folder is scanned.
FolderDialog {
    id: chooser

    required property AppModel appModel

    title: "Choose Folder…"
    onAccepted: chooser.appModel.chooseFolder(decodeURIComponent(String(selectedFolder).replace(/^file:\/\//, "")))
}
