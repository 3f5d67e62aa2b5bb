#include "BrantleCore/DirEntry.hpp"

namespace brantle {

void DirEntryList::clear() {
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
