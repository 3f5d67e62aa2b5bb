#include "Shoreline/RuleText.hpp"
#include "Shoreline/Rules.hpp"

namespace shoreline {

using brantle::NodeId;

namespace {

/// The nodes matching a home-relative pattern whose components may be "*" (any one name).
std::vector<NodeId> matching(const ShorelineContext& context, std::string_view pattern) {
    const auto home = context.homeNode();
    if (!home) return {};
    std::vector<NodeId> current{*home};
    while (!pattern.empty() && !current.empty()) {
        const auto slash = pattern.find('/');
        const std::string_view piece = pattern.substr(0, slash);
        pattern = slash == std::string_view::npos ? std::string_view{} : pattern.substr(slash + 1);
        std::vector<NodeId> next;
        for (const NodeId node : current) {
            for (NodeId child = context.tree.firstChild(node); child != brantle::FileTree::none;
                 child = context.tree.nextSibling(child)) {
                if (piece == "*" || context.tree.nameBytes(child) == piece) next.push_back(child);
            }
        }
        current = std::move(next);
    }
    return current;
}

} // namespace

LogsRule::LogsRule()
    : Rule("logs", "Logs", "doc.text",
           "Diagnostic logs apps write as they run. Only useful when troubleshooting.") {}

std::vector<Candidate> LogsRule::candidates(const ShorelineContext& context) const {
    std::vector<Candidate> out;
    for (const auto& pattern : context.folders().logs) {
        for (const NodeId node : matching(context, pattern)) {
            if (context.tree.size(node) >= oneMiB)
                out.push_back({node, Safety::safe, "Log files — apps start new ones as needed."});
        }
    }
    return out;
}

} // namespace shoreline
