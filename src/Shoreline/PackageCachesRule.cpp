#include "Shoreline/RuleText.hpp"
#include "Shoreline/Rules.hpp"

namespace shoreline {

PackageCachesRule::PackageCachesRule()
    : Rule("packages", "Package manager caches", "archivebox",
           "Downloaded copies of libraries. Package managers fetch them again when needed.") {}

std::vector<Candidate> PackageCachesRule::candidates(const ShorelineContext& context) const {
    std::vector<Candidate> out;
    for (const auto& cache : context.folders().quickPackageCaches) {
        const auto node = context.node(cache.path);
        if (node && context.tree.size(*node) >= tenMiB)
            out.push_back(
                {*node, Safety::safe, cache.label + " download cache — refetched when needed."});
    }
    for (const auto& cache : context.folders().slowPackageCaches) {
        const auto node = context.node(cache.path);
        if (node && context.tree.size(*node) >= tenMiB)
            out.push_back(
                {*node, Safety::review,
                 cache.label + " cache — refetched when needed, which can take a while."});
    }
    return out;
}

} // namespace shoreline
