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

void save(const brantle::FileTree& tree, brantle::ChangeHistory::EventID eventID) {
    const auto& root = tree.rootPath();
    (void)brantle::Snapshot::save(tree, {root, secondsSince1970(), eventID}, snapshotPath(root));
}

} // namespace ambrel::StoredSnapshot
