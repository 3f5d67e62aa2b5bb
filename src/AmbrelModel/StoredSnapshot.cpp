#include "AmbrelModel/StoredSnapshot.hpp"

#include "AmbrelModel/ScanTarget.hpp"
#include "BrantleCore/PathText.hpp"

#include <filesystem>
#include <mutex>

namespace ambrel::StoredSnapshot {

namespace fs = std::filesystem;

namespace {

double secondsSince1970() {
    return std::chrono::duration<double>(std::chrono::system_clock::now().time_since_epoch())
        .count();
}

// In a folder of their own: any file name can come from some root path, so no suffix could
// keep a previous snapshot apart from another target's current one.
fs::path previousPath(const std::string& rootPath) {
    const fs::path current = snapshotPath(rootPath);
    return current.parent_path() / "Previous" / current.filename();
}

// The new snapshot is written whole here before the current one is moved aside, so the
// two renames are all that can be cut short.
fs::path pendingPath(const std::string& rootPath) {
    return snapshotPath(rootPath) + ".next";
}

std::optional<brantle::Snapshot::Contents> loadFrom(const fs::path& file, const std::string& root) {
    auto loaded = brantle::Snapshot::load(file.string());
    if (!loaded || loaded->tree.rootPath() != root) return std::nullopt;
    return std::move(*loaded);
}

/// Saves run on background threads; two of one root must not interleave their renames.
std::mutex& saving() {
    static std::mutex lock;
    return lock;
}

} // namespace

std::optional<brantle::Snapshot::Contents> load(const std::string& rootPath) {
    const auto root = brantle::PathText::standardised(rootPath);
    const fs::path current = snapshotPath(root);
    std::error_code error;
    // A save stopped between its two renames left the new snapshot complete beside it.
    if (!fs::exists(current, error) && fs::exists(pendingPath(root), error)) {
        const std::lock_guard guard(saving());
        fs::rename(pendingPath(root), current, error);
    }
    return loadFrom(current, root);
}

std::optional<brantle::Snapshot::Contents> loadPrevious(const std::string& rootPath) {
    const auto root = brantle::PathText::standardised(rootPath);
    return loadFrom(previousPath(root), root);
}

void save(const brantle::FileTree& tree, brantle::ChangeHistory::EventID eventID) {
    const auto& root = tree.rootPath();
    const std::lock_guard guard(saving());
    const fs::path pending = pendingPath(root);
    if (!brantle::Snapshot::save(tree, {root, secondsSince1970(), eventID}, pending.string()))
        return;
    std::error_code error;
    const fs::path current = snapshotPath(root);
    if (fs::exists(current, error)) {
        fs::create_directories(previousPath(root).parent_path(), error);
        fs::rename(current, previousPath(root), error);
    }
    fs::rename(pending, current, error);
}

std::uint64_t clearAll() {
    const auto folder = fs::path(snapshotPath("/")).parent_path();
    std::uint64_t freed = 0;
    std::error_code error;
    const std::lock_guard guard(saving());
    for (const auto& entry : fs::recursive_directory_iterator(folder, error)) {
        std::error_code fileError;
        if (!entry.is_regular_file(fileError)) continue;
        const auto bytes = entry.file_size(fileError);
        if (fileError) continue;
        if (fs::remove(entry.path(), fileError)) freed += bytes;
    }
    fs::remove(previousPath("/").parent_path(), error); // once empty
    return freed;
}

} // namespace ambrel::StoredSnapshot
