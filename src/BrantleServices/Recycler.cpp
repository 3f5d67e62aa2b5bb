#include "BrantleServices/Recycler.hpp"

#include "BrantleCore/PathText.hpp"

#include <QDir>
#include <QFile>
#include <QStandardPaths>

#include <cstdio>

namespace brantle::Recycler {

namespace {

// Qt reports the path inside the Trash; without a data folder it has been seen to trash into
// the working folder and report "./files/NAME", so only an absolute path in a Trash folder's
// "files" folder counts as a success.
bool isTrashLocation(const std::string& path) {
    return path.starts_with('/') && PathText::lastComponent(PathText::parent(path)) == "files";
}

RecycleOutcome recycled(const std::string& path) {
    RecycleOutcome outcome{path, std::nullopt, std::nullopt};
    const QString name = QFile::decodeName(QByteArray::fromStdString(path));
    if (QFile::encodeName(name).toStdString() != path) {
        outcome.error = "The item's name can't be handed to the Trash";
        return outcome;
    }
    QFile file(name);
    if (!file.moveToTrash()) {
        outcome.error = file.errorString().toStdString();
        return outcome;
    }
    const auto trashed = QFile::encodeName(file.fileName()).toStdString();
    if (isTrashLocation(trashed)) {
        outcome.trashed = trashed;
        return outcome;
    }
    std::rename(QFile::encodeName(QDir::current().absoluteFilePath(file.fileName())).constData(),
                path.c_str());
    outcome.error = "The Trash could not be reached";
    return outcome;
}

} // namespace

std::vector<RecycleOutcome> recycle(std::span<const GuardedRemoval> removals) {
    std::vector<RecycleOutcome> outcomes;
    if (removals.empty()) return outcomes;
    // The home Trash lives in the data folder, which must exist first.
    QDir().mkpath(QStandardPaths::writableLocation(QStandardPaths::GenericDataLocation));
    for (const auto& removal : removals)
        outcomes.push_back(recycled(removal.path()));
    return outcomes;
}

} // namespace brantle::Recycler
