#include "Shoreline/Shoreline.hpp"

#include "Shoreline/Rules.hpp"

#include "BrantleCore/PathText.hpp"

#include <algorithm>
#include <set>
#include <string>

namespace shoreline {

namespace {

namespace PathText = brantle::PathText;
using ClaimedPaths = std::set<std::string, std::less<>>;

/// True when `path` equals a path of the set, lies inside one, or contains one. Paths inside
/// `path` sort right after `path` + "/".
bool overlapsClaimed(const ClaimedPaths& claimed, std::string_view path) {
    for (std::string_view up = path; !up.empty(); up = PathText::parent(up)) {
        if (claimed.contains(up)) return true;
        if (up == "/") break;
    }
    const auto next = claimed.lower_bound(std::string(path) + "/");
    return next != claimed.end() && PathText::isInside(*next, path);
}

std::vector<Finding> acceptedFindings(const ShorelineContext& context,
                                      const std::vector<Candidate>& candidates,
                                      ClaimedPaths& claimed) {
    std::vector<Finding> findings;
    for (const auto& candidate : candidates) {
        std::string path = context.tree.rawPath(candidate.node);
        // Removing a folder around an excluded one would remove what was never shown.
        if (overlapsClaimed(claimed, path) || overlapsClaimed(context.excludedPaths, path))
            continue;
        const auto verdict = context.guardian.check(path);
        const brantle::GuardedRemoval* removal = verdict.removal();
        if (!removal) continue;
        claimed.insert(path);
        findings.push_back(Finding{.path = std::move(path),
                                   .displayPath = context.tree.path(candidate.node),
                                   .name = context.tree.name(candidate.node),
                                   .bytes = context.tree.size(candidate.node),
                                   .safety = candidate.safety,
                                   .reason = candidate.reason,
                                   .removal = *removal});
    }
    std::ranges::stable_sort(findings, std::greater<>{}, &Finding::bytes);
    return findings;
}

} // namespace

const std::vector<std::unique_ptr<const Rule>>& Shoreline::rules() {
    static const auto list = [] {
        std::vector<std::unique_ptr<const Rule>> made;
        made.push_back(std::make_unique<AppCachesRule>());
        made.push_back(std::make_unique<LogsRule>());
        made.push_back(std::make_unique<XcodeRule>());
        made.push_back(std::make_unique<PackageCachesRule>());
        made.push_back(std::make_unique<ProjectDependenciesRule>());
        made.push_back(std::make_unique<InstallersRule>());
        made.push_back(std::make_unique<OldDownloadsRule>());
        made.push_back(std::make_unique<DuplicatesRule>());
        made.push_back(std::make_unique<LargeOldFilesRule>());
        made.push_back(std::make_unique<DeviceBackupsRule>());
        return made;
    }();
    return list;
}

std::vector<ShorelineCategory> Shoreline::analyze(const ShorelineContext& context) {
    return analyze(context, rules());
}

std::vector<ShorelineCategory>
Shoreline::analyze(const ShorelineContext& context,
                   const std::vector<std::unique_ptr<const Rule>>& ruleList) {
    ClaimedPaths claimed;
    std::vector<std::pair<std::uint64_t, ShorelineCategory>> categories;
    for (const auto& rule : ruleList) {
        const auto candidates = rule->candidates(context);
        if (candidates.empty()) continue;
        auto findings = acceptedFindings(context, candidates, claimed);
        if (findings.empty()) continue;
        ShorelineCategory category{rule->id(), rule->title(), rule->symbol(), rule->blurb(),
                                   std::move(findings)};
        const auto total = category.total();
        categories.emplace_back(total, std::move(category));
    }
    std::ranges::stable_sort(categories, std::greater<>{},
                             [](const auto& entry) { return entry.first; });
    std::vector<ShorelineCategory> out;
    out.reserve(categories.size());
    for (auto& entry : categories)
        out.push_back(std::move(entry.second));
    return out;
}

} // namespace shoreline
