#include "Shoreline/CreativeProjects.hpp"
#include "Shoreline/DuplicateFinder.hpp"
#include "Shoreline/Rules.hpp"

#include "BrantleCore/Fatal.hpp"
#include "BrantleCore/PathText.hpp"

#include <algorithm>
#include <limits>

namespace shoreline {

using brantle::NodeId;

namespace {

/// Whether path lies inside home + "/" + relative (which may end in "/").
bool inside(std::string_view path, const std::string& home, std::string_view relative) {
    const auto rest = brantle::PathText::below(path, home);
    return rest &&
           brantle::PathText::isInside(*rest, brantle::PathText::withoutTrailingSlash(relative));
}

/// Smaller ranks are kept first: managed libraries, then deliberate places, then anywhere
/// else, then Downloads; the most recently modified copy first among equals.
struct Rank {
    int score;
    std::int64_t tieBreak;
    auto operator<=>(const Rank&) const = default;
};

Rank rankOf(const ShorelineContext& context, NodeId node, const std::string& path) {
    const std::int64_t mtime = context.tree.mtime(node);
    if (mtime == std::numeric_limits<std::int64_t>::min())
        brantle::fatal("modification time cannot be negated");
    const auto& folders = context.folders();
    int score = 1;
    if (DuplicatesRule::inManagedLibrary(path, context))
        score = -1;
    else if (std::ranges::any_of(folders.deliberatePlaces, [&](const std::string& place) {
                 return inside(path, context.home, place);
             }))
        score = 0;
    else if (!folders.downloads.empty() && inside(path, context.home, folders.downloads))
        score = 2;
    return {score, -mtime};
}

/// "~/rest" for a path in the home folder. Appended rather than `"~" + rest`, which makes
/// GCC 12 at -O3 raise a false -Wrestrict inside std::string.
std::string shownFromHome(const std::string& path, const std::string& home) {
    if (!path.starts_with(home)) return path;
    std::string shown(1, '~');
    shown.append(path, home.size());
    return shown;
}

void proposeCopies(const ShorelineContext& context, const std::vector<NodeId>& set,
                   std::vector<Candidate>& out) {
    struct Copy {
        NodeId node;
        std::string path;
        Rank rank;
    };
    std::vector<Copy> copies;
    for (const NodeId node : set) {
        std::string path = context.tree.rawPath(node);
        const Rank rank = rankOf(context, node, path);
        copies.push_back({node, std::move(path), rank});
    }
    std::ranges::stable_sort(copies, std::less<>{}, &Copy::rank);
    const std::string display = shownFromHome(context.tree.path(copies.front().node), context.home);
    for (std::size_t i = 1; i < copies.size(); ++i) {
        if (DuplicatesRule::inManagedLibrary(copies[i].path, context) ||
            CreativeProjects::contains(copies[i].node, context))
            continue;
        out.push_back(
            {copies[i].node, Safety::review, "Identical to " + display + ", which is kept."});
    }
}

} // namespace

DuplicatesRule::DuplicatesRule()
    : Rule("duplicates", "Duplicate files", "doc.on.doc",
           "Identical copies of the same large file. Ambrel keeps the copy in the most "
           "deliberate place.") {}

bool DuplicatesRule::inManagedLibrary(std::string_view path, const ShorelineContext& context) {
    return std::ranges::any_of(context.folders().managedLibraries, [&](const std::string& library) {
        return inside(path, context.home, library);
    });
}

std::vector<Candidate> DuplicatesRule::candidates(const ShorelineContext& context) const {
    std::vector<Candidate> out;
    for (const auto& set : DuplicateFinder::identicalSets(context))
        proposeCopies(context, set, out);
    return out;
}

} // namespace shoreline
