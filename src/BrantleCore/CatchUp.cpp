#include "BrantleCore/CatchUp.hpp"

#include "BrantleCore/ChangeHistory.hpp"
#include "BrantleCore/PathText.hpp"

#include <algorithm>
#include <iterator>

namespace brantle {

namespace {

std::size_t liveFolders(const FileTree& tree) {
    const auto& bits = tree.columns().flagBits;
    return static_cast<std::size_t>(std::count_if(bits.begin(), bits.end(), [](std::uint16_t b) {
        return (b & (NodeFlags::directory.rawValue | NodeFlags::dead.rawValue)) ==
               NodeFlags::directory.rawValue;
    }));
}

/// The parents of excluded folders the tree still holds (the list grew since it was scanned):
/// reading them again drops those folders.
std::vector<std::string> parentsOfExcluded(const FileTree& tree, const ScanOptions& options) {
    std::vector<std::string> parents;
    for (const std::string& excluded : options.excludedPaths) {
        const auto node = tree.node(excluded);
        if (node && *node != FileTree::root && !tree.isDead(*node))
            parents.emplace_back(PathText::parent(excluded));
    }
    return parents;
}

} // namespace

double secondsSince1970() {
    return std::chrono::duration<double>(std::chrono::system_clock::now().time_since_epoch())
        .count();
}

CatchUpResult scanWithRecord(DiskScanner& scanner, std::string_view root,
                             std::int64_t expectedCount, DiskScanner::ProgressCallback progress) {
    const ChangeHistory::EventID eventID = ChangeHistory::currentEventID();
    FileTree tree = scanner.scan(root, expectedCount, std::move(progress));
    const std::size_t folders = liveFolders(tree);
    std::string rootPath = tree.rootPath();
    return {std::move(tree),
            {std::move(rootPath), secondsSince1970(), eventID},
            CatchUpResult::Mode::rescan,
            folders};
}

std::optional<CatchUpResult> catchUpChanges(DiskScanner& scanner, Snapshot::Contents loaded,
                                            std::chrono::duration<double> timeout) {
    scanner.begin();
    const ChangeHistory::EventID eventID = ChangeHistory::currentEventID();
    const ChangeSet changes = ChangeHistory::changedDirectories(
        loaded.tree.rootPath(), loaded.meta.fsEventID, timeout, loaded.tree);
    if (scanner.isCancelled() || changes.needsFullRescan()) return std::nullopt;
    std::vector<std::string> folders = DiskScanner::newlyReadable(loaded.tree);
    folders.insert(folders.end(), changes.directories.begin(), changes.directories.end());
    std::ranges::move(parentsOfExcluded(loaded.tree, scanner.options()),
                      std::back_inserter(folders));
    const std::size_t reread =
        folders.empty() ? 0 : scanner.rescan(loaded.tree, std::move(folders));
    if (scanner.isCancelled()) return std::nullopt;
    std::string rootPath = loaded.tree.rootPath();
    return CatchUpResult{FileTree::compact(std::move(loaded.tree)),
                         {std::move(rootPath), secondsSince1970(), eventID},
                         CatchUpResult::Mode::catchUp,
                         reread};
}

CatchUpResult catchUp(DiskScanner& scanner, std::optional<Snapshot::Contents> loaded,
                      std::string_view root, std::chrono::duration<double> timeout) {
    const std::string_view rootPath = PathText::withoutTrailingSlash(root);
    if (loaded && loaded->tree.rootPath() == rootPath) {
        if (auto caughtUp = catchUpChanges(scanner, std::move(*loaded), timeout))
            return std::move(*caughtUp);
        if (scanner.isCancelled()) return {FileTree(rootPath), {}, CatchUpResult::Mode::rescan, 0};
    }
    return scanWithRecord(scanner, rootPath);
}

} // namespace brantle
