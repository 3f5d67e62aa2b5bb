#include "BrantleServices/Recycler.hpp"

#include "BrantleServices/AnchoredItem.hpp"
#include "BrantleServices/FreedesktopTrash.hpp"

namespace brantle::Recycler {

namespace {

RecycleOutcome recycled(const std::string& path) {
    auto item = AnchoredItem::open(path);
    if (!item) return {path, std::nullopt, item.error().description()};
    auto trashed = FreedesktopTrash::trash(*item, path);
    if (!trashed) return {path, std::nullopt, trashed.error().description()};
    return {path, std::move(*trashed), std::nullopt};
}

} // namespace

std::vector<RecycleOutcome> recycle(std::span<const GuardedRemoval> removals) {
    std::vector<RecycleOutcome> outcomes;
    for (const auto& removal : removals)
        outcomes.push_back(recycled(removal.path()));
    return outcomes;
}

} // namespace brantle::Recycler
