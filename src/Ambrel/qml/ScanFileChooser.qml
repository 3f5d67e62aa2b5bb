import QtQuick.Dialogs
import Ambrel

// "Open Scan…": a snapshot saved by `brantle scan --save` or an ncdu export, shown read-only.
FileDialog {
    id: chooser

    required property AppModel appModel

    title: "Open Scan…"
    fileMode: FileDialog.OpenFile
    nameFilters: ["Scans (*.brs *.json)", "Ambrel snapshots (*.brs)", "ncdu exports (*.json)",
        "All files (*)"]
    onAccepted: chooser.appModel.openScan(decodeURIComponent(String(selectedFile).replace(/^file:\/\//, "")))
}
