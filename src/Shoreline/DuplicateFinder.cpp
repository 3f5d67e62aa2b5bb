#include "Shoreline/DuplicateFinder.hpp"

#include "Shoreline/FileDigest.hpp"
#include "Shoreline/UserFiles.hpp"

#include <map>
#include <unordered_map>

namespace shoreline {

using brantle::NodeId;

namespace {

using Group = std::vector<NodeId>;
using DigestFunction = std::optional<FileDigest::Digest> (*)(const std::string& path);

/// Splits a group of files by their digest; sets of one and unreadable files drop out.
std::vector<Group> regroup(const ShorelineContext& context, const Group& group,
                           DigestFunction digestOf) {
    std::map<FileDigest::Digest, Group> byDigest;
    for (const NodeId node : group) {
        if (const auto digest = digestOf(context.tree.rawPath(node)))
            byDigest[*digest].push_back(node);
    }
    std::vector<Group> out;
    for (auto& [digest, members] : byDigest) {
        if (members.size() > 1) out.push_back(std::move(members));
    }
    return out;
}

} // namespace

std::vector<Group> DuplicateFinder::identicalSets(const ShorelineContext& context) {
    std::unordered_map<std::uint64_t, Group> bySize;
    for (const NodeId node : UserFiles::walk(context, context.duplicateMinBytes))
        bySize[context.tree.size(node)].push_back(node);
    std::vector<Group> sets;
    for (const auto& [size, group] : bySize) {
        if (group.size() < 2) continue;
        for (const auto& similar : regroup(context, group, FileDigest::quick)) {
            for (auto& identical : regroup(context, similar, FileDigest::full))
                sets.push_back(std::move(identical));
        }
    }
    return sets;
}

} // namespace shoreline
