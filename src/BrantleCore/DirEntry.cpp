#include "BrantleCore/DirEntry.hpp"

namespace brantle {

void DirEntryList::clear() {
    // Storage grown by one very wide folder is given back rather than kept for every later
    // folder: a worker's lists would otherwise add megabytes to the scan's peak memory.
    if (entries_.capacity() > keptCapacity) {
        entries_ = {};
        nameOffsets_ = {};
        names_ = {};
        return;
    }
    entries_.clear();
    nameOffsets_.clear();
    names_.clear();
}

void DirEntryList::add(const DirEntry& entry, std::string_view name) {
    nameOffsets_.push_back(static_cast<std::uint32_t>(names_.size()));
    names_.append(name);
    entries_.push_back(entry);
    // Only the length is kept for now: the pool may move until the list is complete.
    entries_.back().name = std::string_view(names_.data(), name.size());
}

std::span<const DirEntry> DirEntryList::entries() {
    for (std::size_t i = 0; i < entries_.size(); ++i)
        entries_[i].name =
            std::string_view(names_.data() + nameOffsets_[i], entries_[i].name.size());
    return entries_;
}

} // namespace brantle
