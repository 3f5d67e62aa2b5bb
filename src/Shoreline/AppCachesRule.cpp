#include "Shoreline/RuleText.hpp"
#include "Shoreline/Rules.hpp"
#include "Shoreline/TaggedCaches.hpp"

#include "BrantleCore/PathText.hpp"

#include <algorithm>

namespace shoreline {

using brantle::NodeId;

namespace {

bool isSystemCache(const SuggestionFolders& folders, std::string_view name) {
    return std::ranges::find(folders.systemCacheNames, name) != folders.systemCacheNames.end() ||
           std::ranges::any_of(folders.systemCachePrefixes,
                               [&](const std::string& prefix) { return name.starts_with(prefix); });
}

/// A package cache inside the caches folder belongs to the package-caches rule.
bool namedByLaterRule(const SuggestionFolders& folders, const std::string& relative) {
    const auto names = [&](const SuggestionFolders::PackageCache& cache) {
        return brantle::PathText::isAtOrInside(cache.path, relative);
    };
    return std::ranges::any_of(folders.quickPackageCaches, names) ||
           std::ranges::any_of(folders.slowPackageCaches, names);
}

void addCacheFolders(const ShorelineContext& context, std::vector<Candidate>& out) {
    const auto& folders = context.folders();
    if (folders.appCaches.empty()) return;
    for (const NodeId child : context.children(folders.appCaches)) {
        const std::string name = context.tree.name(child);
        if (context.tree.size(child) < oneMiB || context.runningBundleIDs.contains(name)) continue;
        if (namedByLaterRule(folders, folders.appCaches + "/" + name)) continue;
        if (isSystemCache(folders, name))
            out.push_back({child, Safety::review, folders.systemCacheReason});
        else
            out.push_back({child, Safety::safe, "Cache — the app rebuilds it when it needs it."});
    }
}

void addContainerCaches(const ShorelineContext& context, std::vector<Candidate>& out) {
    const auto& folders = context.folders();
    if (folders.containers.empty()) return;
    for (const NodeId container : context.children(folders.containers)) {
        const std::string name = context.tree.name(container);
        if (context.runningBundleIDs.contains(name)) continue;
        const auto caches =
            context.tree.node(context.tree.path(container) + "/" + folders.containerCaches);
        if (!caches || context.tree.size(*caches) < fiveMiB) continue;
        if (isSystemCache(folders, name))
            out.push_back({*caches, Safety::review, folders.systemContainerCacheReason});
        else
            out.push_back({*caches, Safety::safe, "Cache for " + name + " — rebuilt when needed."});
    }
}

} // namespace

AppCachesRule::AppCachesRule()
    : Rule("caches", "App caches", "shippingbox",
           "Temporary files apps keep to load faster. They rebuild them as needed.") {}

std::vector<Candidate> AppCachesRule::candidates(const ShorelineContext& context) const {
    std::vector<Candidate> out;
    addCacheFolders(context, out);
    addContainerCaches(context, out);
    TaggedCaches::addTo(context, out);
    return out;
}

} // namespace shoreline
