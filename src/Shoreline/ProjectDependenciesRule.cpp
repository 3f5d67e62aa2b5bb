#include "Shoreline/RuleText.hpp"
#include "Shoreline/Rules.hpp"

#include <algorithm>
#include <array>
#include <utility>

namespace shoreline {

using brantle::FileTree;
using brantle::NodeFlags;
using brantle::NodeId;

namespace {

constexpr std::array<ProjectDependenciesRule::Kind, 5> kinds{{
    {"node_modules", "", "npm install", Safety::safe},
    {"Pods", "Podfile", "pod install", Safety::safe},
    {".build", "Package.swift", "swift build", Safety::safe},
    {"target", "Cargo.toml", "cargo build", Safety::safe},
    {".venv", "", "recreate the virtual environment", Safety::review},
}};

constexpr int deepestSearched = 7;
constexpr int idleVisitLimit = 20'000;

bool hasChild(const FileTree& tree, NodeId folder, std::string_view name) {
    for (NodeId child = tree.firstChild(folder); child != FileTree::none;
         child = tree.nextSibling(child)) {
        if (tree.nameBytes(child) == name) return true;
    }
    return false;
}

/// The latest modification time in the project, leaving out its dependency folder and not
/// entering any other dependency folder; bounded so a huge project stays cheap.
std::int64_t latestChange(const FileTree& tree, NodeId project, NodeId dependencies) {
    std::int64_t latest = tree.mtime(project);
    std::vector<NodeId> stack;
    for (NodeId child = tree.firstChild(project); child != FileTree::none;
         child = tree.nextSibling(child)) {
        if (child != dependencies) stack.push_back(child);
    }
    int visited = 0;
    while (!stack.empty() && visited < idleVisitLimit) {
        const NodeId node = stack.back();
        stack.pop_back();
        ++visited;
        latest = std::max(latest, tree.mtime(node));
        if (ProjectDependenciesRule::kind(tree.nameBytes(node))) continue;
        for (NodeId child = tree.firstChild(node); child != FileTree::none;
             child = tree.nextSibling(child))
            stack.push_back(child);
    }
    return latest;
}

std::optional<Candidate> evaluate(const ShorelineContext& context, NodeId folder,
                                  const ProjectDependenciesRule::Kind& kind) {
    const FileTree& tree = context.tree;
    const NodeId project = tree.parent(folder);
    if (project == FileTree::none || tree.size(folder) < tenMiB) return std::nullopt;
    if (!kind.sibling.empty() && !hasChild(tree, project, kind.sibling)) return std::nullopt;
    const auto idle = context.daysSince(latestChange(tree, project, folder));
    if (idle < 30) return std::nullopt;
    return Candidate{folder, kind.safety,
                     tree.name(project) + " untouched for " + std::to_string(idle) + " days — " +
                         std::string(kind.command) + " brings it back."};
}

} // namespace

ProjectDependenciesRule::ProjectDependenciesRule()
    : Rule("deps", "Old project dependencies", "folder.badge.gearshape",
           "Installed dependencies in projects you haven't touched for a month. Reinstall with "
           "one command.") {}

const ProjectDependenciesRule::Kind* ProjectDependenciesRule::kind(std::string_view name) {
    const auto found = std::ranges::find(kinds, name, &Kind::folder);
    return found == kinds.end() ? nullptr : &*found;
}

std::vector<Candidate> ProjectDependenciesRule::candidates(const ShorelineContext& context) const {
    const FileTree& tree = context.tree;
    const auto home = context.homeNode();
    if (!home) return {};
    std::vector<std::pair<NodeId, int>> stack;
    for (NodeId child = tree.firstChild(*home); child != FileTree::none;
         child = tree.nextSibling(child)) {
        const auto name = tree.nameBytes(child);
        if (name != "Library" && !name.starts_with('.')) stack.emplace_back(child, 1);
    }
    std::vector<Candidate> out;
    while (!stack.empty()) {
        const auto [node, depth] = stack.back();
        stack.pop_back();
        if (!tree.flags(node).contains(NodeFlags::directory)) continue;
        if (const Kind* found = kind(tree.nameBytes(node))) {
            if (auto candidate = evaluate(context, node, *found)) out.push_back(*candidate);
            continue;
        }
        if (depth > deepestSearched) continue;
        for (NodeId child = tree.firstChild(node); child != FileTree::none;
             child = tree.nextSibling(child)) {
            const auto name = tree.nameBytes(child);
            if (!name.starts_with('.') || kind(name)) stack.emplace_back(child, depth + 1);
        }
    }
    return out;
}

} // namespace shoreline
