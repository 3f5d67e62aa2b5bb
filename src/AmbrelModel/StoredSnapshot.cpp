#include "AmbrelModel/StoredSnapshot.hpp"

#include "AmbrelModel/ScanTarget.hpp"
#include "BrantleCore/PathText.hpp"

namespace ambrel::StoredSnapshot {

namespace {

double secondsSince1970() {
    return std::chrono::duration<double>(std::chrono::system_clock::now().time_since_epoch())
        .count();
}

} // namespace

std::optional<brantle::Snapshot::Contents> load(const std::string& rootPath) {
    const auto root = brantle::PathText::standardised(rootPath);
    auto loaded = brantle::Snapshot::load(snapshotPath(root));
    if (!loaded || loaded->tree.rootPath() != root) return std::nullopt;
    return std::move(*loaded);
}

std::optional<CaughtUp> catchUp(brantle::Snapshot::Contents loaded, brantle::DiskScanner& scanner,
                                std::chrono::duration<double> timeout) {
    const auto eventID = brantle::ChangeHistory::currentEventID();
    const auto changes = brantle::ChangeHistory::changedDirectories(
        loaded.tree.rootPath(), loaded.meta.fsEventID, timeout, loaded.tree);
    if (changes.needsFullRescan()) return std::nullopt;

    auto folders = brantle::DiskScanner::newlyReadable(loaded.tree);
    folders.insert(folders.end(), changes.directories.begin(), changes.directories.end());
    CaughtUp result{std::make_shared<brantle::FileTree>(std::move(loaded.tree)), eventID, 0};
    if (!folders.empty()) result.reread = scanner.rescan(*result.tree, std::move(folders));
    return result;
}

void save(const brantle::FileTree& tree, brantle::ChangeHistory::EventID eventID) {
    const auto& root = tree.rootPath();
    (void)brantle::Snapshot::save(tree, {root, secondsSince1970(), eventID}, snapshotPath(root));
}

} // namespace ambrel::StoredSnapshot
