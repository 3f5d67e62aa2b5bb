#include "Shoreline/CreativeProjects.hpp"

#include "BrantleCore/PathText.hpp"
#include "Shoreline/RuleText.hpp"

#include <algorithm>
#include <array>
#include <string_view>
#include <vector>

namespace shoreline {

using brantle::FileTree;
using brantle::NodeId;

namespace {

constexpr std::array<std::string_view, 6> ownExtensions{"aegraphic", "mogrt", "cfa",
                                                        "pek",       "ims",   "prv"};

constexpr std::array<std::string_view, 32> projectExtensions{
    "prproj", "aep",  "aepx",   "fcpbundle", "fcpproj",    "fcpxml",       "logicx",  "als",
    "ptx",    "drp",  "dra",    "blend",     "imovieproj", "imoviemobile", "band",    "psd",
    "ai",     "indd", "sketch", "kra",       "c4d",        "aup3",         "flp",     "cpr",
    "rpp",    "veg",  "motn",   "cmproj",    "screenflow", "procreate",    "afphoto", "afdesign"};

constexpr std::array<std::string_view, 4> projectMarkers{
    "Ableton Project Info", "Adobe Premiere Pro Auto-Save", "Adobe Premiere Pro Audio Previews",
    "Adobe Premiere Pro Video Previews"};

template <std::size_t N>
bool listed(const std::array<std::string_view, N>& list, std::string_view value) {
    return std::ranges::find(list, value) != list.end();
}

bool isMarker(std::string_view name) {
    return listed(projectMarkers, name);
}

bool holdsMarker(const FileTree& tree, NodeId folder) {
    for (NodeId child = tree.firstChild(folder); child != FileTree::none;
         child = tree.nextSibling(child)) {
        if (isMarker(tree.nameBytes(child))) return true;
    }
    return false;
}

/// The components of `path` below `home`; none when it is not inside it.
std::vector<std::string_view> componentsBelow(std::string_view path, std::string_view home) {
    const auto rest = brantle::PathText::below(path, home);
    return rest ? brantle::PathText::components(*rest) : std::vector<std::string_view>{};
}

} // namespace

bool CreativeProjects::contains(NodeId node, const ShorelineContext& context) {
    const FileTree& tree = context.tree;
    if (listed(ownExtensions, lowerExtension(tree.nameBytes(node)))) return true;
    NodeId ancestor = tree.parent(node);
    if (ancestor == FileTree::none) return false;
    const std::string folder = tree.path(ancestor);
    const auto components = componentsBelow(folder, context.home);
    for (const auto component : components) {
        if (listed(projectExtensions, lowerExtension(component)) || isMarker(component))
            return true;
    }
    // A project folder may also be known only by the marker folder it holds.
    for (std::size_t left = components.size(); left > 0 && ancestor != FileTree::none;
         --left, ancestor = tree.parent(ancestor)) {
        if (holdsMarker(tree, ancestor)) return true;
    }
    return false;
}

} // namespace shoreline
