#include "AmbrelModel/StoredSnapshot.hpp"

#include "AmbrelModel/ScanTarget.hpp"
#include "BrantleCore/PathText.hpp"

#include <filesystem>

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

std::uint64_t clearAll() {
    namespace fs = std::filesystem;
    const auto folder = fs::path(snapshotPath("/")).parent_path();
    std::uint64_t freed = 0;
    std::error_code error;
    for (const auto& entry : fs::directory_iterator(folder, error)) {
        std::error_code fileError;
        if (!entry.is_regular_file(fileError)) continue;
        const auto bytes = entry.file_size(fileError);
        if (fileError) continue;
        if (fs::remove(entry.path(), fileError)) freed += bytes;
    }
    return freed;
}

} // namespace ambrel::StoredSnapshot
