#include "Shoreline/RuleText.hpp"
#include "Shoreline/Rules.hpp"

namespace shoreline {

OldDownloadsRule::OldDownloadsRule()
    : Rule("downloads", "Forgotten downloads", "arrow.down.circle",
           "Things in Downloads you haven't opened in three months.") {}

std::vector<Candidate> OldDownloadsRule::candidates(const ShorelineContext& context) const {
    std::vector<Candidate> out;
    for (const auto child : context.children(context.folders().downloads)) {
        if (context.tree.size(child) < oneMiB) continue;
        const auto days = context.idleDays(child, context.tree.rawPath(child));
        if (days >= 90)
            out.push_back(
                {child, Safety::review, "Not opened in " + groupedCount(days) + " days."});
    }
    return out;
}

} // namespace shoreline
