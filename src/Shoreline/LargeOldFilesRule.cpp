#include "Shoreline/RuleText.hpp"
#include "Shoreline/Rules.hpp"
#include "Shoreline/UserFiles.hpp"

namespace shoreline {

LargeOldFilesRule::LargeOldFilesRule()
    : Rule("large", "Large, untouched files", "doc.badge.clock",
           "Big files you haven't opened in six months. Worth a look before you remove "
           "anything.") {}

std::vector<Candidate> LargeOldFilesRule::candidates(const ShorelineContext& context) const {
    std::vector<Candidate> out;
    for (const auto node : UserFiles::walk(context, context.largeFileMinBytes)) {
        const std::string path = context.tree.rawPath(node);
        if (DuplicatesRule::inManagedLibrary(path, context)) continue;
        const auto days = context.idleDays(node, path);
        if (days >= 180)
            out.push_back(
                {node, Safety::caution, "Not opened in " + groupedCount(days) + " days."});
    }
    return out;
}

} // namespace shoreline
