#include "Shoreline/TaggedCaches.hpp"

#include "BrantleCore/NodeFlags.hpp"
#include "BrantleCore/PathText.hpp"
#include "Shoreline/RuleText.hpp"

#include <algorithm>
#include <array>
#include <fcntl.h>
#include <unistd.h>

namespace shoreline::TaggedCaches {

using brantle::NodeFlags;
using brantle::NodeId;

bool isValidTag(const std::string& path) {
    // Not following a link: a tag must be the folder's own file.
    const int fd = open(path.c_str(), O_RDONLY | O_CLOEXEC | O_NOFOLLOW | O_NONBLOCK);
    if (fd < 0) return false;
    std::array<char, signature.size()> head{};
    std::size_t got = 0;
    while (got < head.size()) {
        const ssize_t n = read(fd, head.data() + got, head.size() - got);
        if (n <= 0) break;
        got += static_cast<std::size_t>(n);
    }
    close(fd);
    return got == head.size() && std::string_view(head.data(), got) == signature;
}

namespace {

bool namedByPackageRule(const ShorelineContext& context, std::string_view path) {
    const auto names = [&](const SuggestionFolders::PackageCache& cache) {
        return brantle::PathText::isAtOrInside(path,
                                               brantle::PathText::joined(context.home, cache.path));
    };
    const auto& folders = context.folders();
    return std::ranges::any_of(folders.quickPackageCaches, names) ||
           std::ranges::any_of(folders.slowPackageCaches, names);
}

/// True when a folder above `node` holds a valid tag too: the outer one is proposed.
bool insideTagged(const brantle::FileTree& tree, NodeId node, const std::vector<bool>& tagged) {
    for (NodeId up = tree.parent(node); up != brantle::FileTree::none; up = tree.parent(up)) {
        if (tagged[up]) return true;
        if (up == brantle::FileTree::root) break;
    }
    return false;
}

} // namespace

void addTo(const ShorelineContext& context, std::vector<Candidate>& out) {
    const brantle::FileTree& tree = context.tree;
    std::vector<bool> tagged(tree.count());
    std::vector<NodeId> folders;
    // A name check per node; the tag file is read only for the few that match.
    for (NodeId id = 1; id < tree.count(); ++id) {
        const NodeFlags flags = tree.flags(id);
        if (flags.contains(NodeFlags::directory) || flags.contains(NodeFlags::symlink) ||
            flags.contains(NodeFlags::dead) || tree.nameBytes(id) != tagName)
            continue;
        const NodeId folder = tree.parent(id);
        if (folder == brantle::FileTree::root || tree.isDead(folder) ||
            tree.size(folder) < oneMiB || !isValidTag(tree.rawPath(id)))
            continue;
        tagged[folder] = true;
        folders.push_back(folder);
    }
    for (const NodeId folder : folders) {
        if (insideTagged(tree, folder, tagged) || namedByPackageRule(context, tree.rawPath(folder)))
            continue;
        out.push_back({folder, Safety::safe,
                       "Tagged as a cache by the program that made it — made again when needed."});
    }
}

} // namespace shoreline::TaggedCaches
