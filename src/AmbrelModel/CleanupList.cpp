#include "AmbrelModel/CleanupList.hpp"

#include "BrantleCore/Fatal.hpp"
#include "BrantleCore/PathText.hpp"

#include <algorithm>

using namespace Qt::StringLiterals;

namespace ambrel {

using brantle::PathText::isInside;

std::optional<Notice> CleanupList::stage(const std::string& path, std::uint64_t bytes,
                                         const QString& name) {
    if (isStaged(path))
        return Notice::make(
            u"“"_s + name + u"” is already in the Cleanup List (or inside something that is)."_s,
            false);
    const auto verdict = guard_(path);
    const auto* removal = verdict.removal();
    if (!removal)
        return Notice::make(
            u"Ambrel won't remove “"_s + name + u"”: "_s +
                QString::fromUtf8(verdict.reason().data(), qsizetype(verdict.reason().size())) +
                u"."_s,
            true);
    std::erase_if(items_, [&](const StagedItem& item) { return isInside(item.path, path); });
    items_.push_back({QUuid::createUuid(), path, name, bytes, *removal});
    return std::nullopt;
}

void CleanupList::unstage(const QUuid& id) {
    std::erase_if(items_, [&](const StagedItem& item) { return item.id == id; });
}

void CleanupList::drop(const std::vector<std::string>& paths) {
    std::erase_if(items_, [&](const StagedItem& item) {
        return std::ranges::find(paths, item.path) != paths.end();
    });
}

StageState CleanupList::stageState(const std::string& path) const {
    if (path.empty()) return StageState::none;
    if (entry(path)) return StageState::staged;
    const bool inside = std::ranges::any_of(
        items_, [&](const StagedItem& item) { return isInside(path, item.path); });
    return inside ? StageState::insideStaged : StageState::none;
}

bool CleanupList::isStaged(const std::string& path) const {
    return stageState(path) != StageState::none;
}

std::uint64_t CleanupList::stagedBytes() const {
    std::uint64_t sum = 0;
    for (const auto& item : items_)
        if (__builtin_add_overflow(sum, item.bytes, &sum))
            brantle::fatal("Cleanup List byte sum overflows");
    return sum;
}

const StagedItem* CleanupList::entry(const std::string& path) const {
    const auto found =
        std::ranges::find_if(items_, [&](const StagedItem& item) { return item.path == path; });
    return found == items_.end() ? nullptr : &*found;
}

QString CleanupList::addedText(int count, const QString& size) {
    return u"Added "_s + QString::number(count) + (count == 1 ? u" item"_s : u" items"_s) +
           u" ("_s + size + u") to the Cleanup List."_s;
}

} // namespace ambrel
