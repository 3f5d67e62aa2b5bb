#include "Shoreline/ShorelineContext.hpp"

#include "BrantleCore/Fatal.hpp"
#include "BrantleCore/PathText.hpp"
#include "Shoreline/LastUsed.hpp"

#include <algorithm>
#include <chrono>

namespace shoreline {

using brantle::NodeId;

namespace {

std::int64_t secondsNow() {
    return std::chrono::duration_cast<std::chrono::seconds>(
               std::chrono::system_clock::now().time_since_epoch())
        .count();
}

} // namespace

ShorelineContext::ShorelineContext(const brantle::FileTree& fileTree, std::string_view homePath,
                                   brantle::DeletionGuard guard,
                                   std::shared_ptr<const brantle::PlatformProfile> platform)
    : tree(fileTree), home(brantle::PathText::standardised(homePath)), guardian(std::move(guard)),
      now(secondsNow()), lastUsed(LastUsed::spotlight), profile(std::move(platform)) {
    if (!profile) brantle::fatal("suggestions need a platform profile");
    suggestionFolders = SuggestionFolders::of(profile->name, home);
}

std::optional<NodeId> ShorelineContext::node(std::string_view relative) const {
    if (relative.empty()) return std::nullopt;
    return tree.node(brantle::PathText::joined(home, relative));
}

std::optional<NodeId> ShorelineContext::homeNode() const {
    return tree.node(home);
}

std::vector<NodeId> ShorelineContext::children(std::string_view relative) const {
    const auto found = node(relative);
    return found ? tree.children(*found) : std::vector<NodeId>{};
}

std::int64_t ShorelineContext::daysSince(std::int64_t time) const {
    std::int64_t seconds = 0;
    if (__builtin_sub_overflow(now, time, &seconds)) brantle::fatal("day count out of range");
    return seconds / 86'400;
}

std::int64_t ShorelineContext::ageInDays(NodeId id) const {
    return daysSince(tree.mtime(id));
}

std::int64_t ShorelineContext::idleDays(NodeId id, const std::string& path) const {
    std::int64_t days = ageInDays(id);
    if (lastUsed) {
        if (const auto used = lastUsed(path)) days = std::min(days, daysSince(*used));
    }
    return days;
}

} // namespace shoreline
