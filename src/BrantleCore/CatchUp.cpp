#include "BrantleCore/CatchUp.hpp"

#include "BrantleCore/ChangeHistory.hpp"

#include <algorithm>

namespace brantle {

namespace {

double secondsSince1970() {
    return std::chrono::duration<double>(std::chrono::system_clock::now().time_since_epoch())
        .count();
}

std::size_t liveFolders(const FileTree& tree) {
    const auto& bits = tree.columns().flagBits;
    return static_cast<std::size_t>(std::count_if(bits.begin(), bits.end(), [](std::uint16_t b) {
        return (b & (NodeFlags::directory.rawValue | NodeFlags::dead.rawValue)) ==
               NodeFlags::directory.rawValue;
    }));
}

/// The root as a tree spells it: one trailing "/" dropped unless the path is "/".
std::string treeRoot(std::string_view path) {
    if (path.size() >= 2 && path.back() == '/') path.remove_suffix(1);
    return std::string(path);
}

} // namespace

std::optional<CatchUpResult> catchUpChanges(DiskScanner& scanner, Snapshot::Contents loaded,
                                            std::chrono::duration<double> timeout) {
    const ChangeHistory::EventID eventID = ChangeHistory::currentEventID();
    const ChangeSet changes = ChangeHistory::changedDirectories(
        loaded.tree.rootPath(), loaded.meta.fsEventID, timeout, loaded.tree);
    if (changes.needsFullRescan()) return std::nullopt;
    std::vector<std::string> folders = DiskScanner::newlyReadable(loaded.tree);
    folders.insert(folders.end(), changes.directories.begin(), changes.directories.end());
    const std::size_t reread =
        folders.empty() ? 0 : scanner.rescan(loaded.tree, std::move(folders));
    std::string rootPath = loaded.tree.rootPath();
    return CatchUpResult{std::move(loaded.tree),
                         {std::move(rootPath), secondsSince1970(), eventID},
                         CatchUpResult::Mode::catchUp,
                         reread};
}

CatchUpResult catchUp(DiskScanner& scanner, std::optional<Snapshot::Contents> loaded,
                      std::string_view root, std::chrono::duration<double> timeout) {
    const std::string rootPath = treeRoot(root);
    if (loaded && loaded->tree.rootPath() == rootPath) {
        if (auto caughtUp = catchUpChanges(scanner, std::move(*loaded), timeout))
            return std::move(*caughtUp);
    }
    const ChangeHistory::EventID eventID = ChangeHistory::currentEventID();
    FileTree tree = scanner.scan(rootPath);
    const std::size_t folders = liveFolders(tree);
    return {std::move(tree),
            {rootPath, secondsSince1970(), eventID},
            CatchUpResult::Mode::rescan,
            folders};
}

} // namespace brantle
