#include "BrantleServices/Growth.hpp"

#include "BrantleCore/Fatal.hpp"
#include "BrantleServices/TideHistory.hpp"

#include <algorithm>
#include <limits>
#include <map>
#include <optional>
#include <string_view>

namespace brantle {

namespace {

constexpr double explainingShare = 0.8;

std::int64_t signedBytes(std::uint64_t bytes) {
    if (bytes > static_cast<std::uint64_t>(std::numeric_limits<std::int64_t>::max()))
        fatal("folder size does not fit a signed 64-bit growth");
    return static_cast<std::int64_t>(bytes);
}

std::optional<std::string> parentPath(const std::string& path) {
    const auto slash = path.rfind('/');
    if (slash == std::string::npos || path == "/") return std::nullopt;
    return slash == 0 ? std::string("/") : path.substr(0, slash);
}

/// The folders of both summaries as a tree by path, each with its growth.
class GrowthTree {
public:
    GrowthTree(const TideSummary& from, const TideSummary& to) {
        for (const auto& [path, bytes] : to.folders)
            deltas_[path] = signedBytes(bytes);
        for (const auto& [path, bytes] : from.folders)
            deltas_[path] -= signedBytes(bytes);
        for (const auto& [path, delta] : deltas_) {
            const auto parent = parentPath(path);
            if (parent && deltas_.contains(*parent))
                children_[*parent].push_back(path);
            else
                tops_.push_back(path);
        }
    }

    const std::vector<std::string>& tops() const { return tops_; }

    /// Names the deepest folders that explain the growth below `path`.
    void descend(const std::string& path, std::int64_t minDelta, std::vector<Growth>& out) const {
        const std::int64_t delta = deltas_.at(path);
        const std::vector<std::string> grown = grownChildren(path, minDelta);
        const bool oneChildExplains =
            !grown.empty() && static_cast<double>(deltas_.at(grown.front())) >=
                                  explainingShare * static_cast<double>(delta);
        if (!oneChildExplains) out.push_back({path, delta});
        for (const std::string& child : grown)
            descend(child, minDelta, out);
    }

private:
    std::vector<std::string> grownChildren(const std::string& path, std::int64_t minDelta) const {
        std::vector<std::string> grown;
        if (const auto it = children_.find(path); it != children_.end()) {
            for (const std::string& child : it->second) {
                if (deltas_.at(child) >= minDelta) grown.push_back(child);
            }
        }
        std::ranges::stable_sort(grown, std::greater{},
                                 [this](const std::string& p) { return deltas_.at(p); });
        return grown;
    }

    std::map<std::string, std::int64_t> deltas_;
    std::map<std::string, std::vector<std::string>> children_;
    std::vector<std::string> tops_;
};

} // namespace

std::vector<Growth> TideHistory::growth(const TideSummary& from, const TideSummary& to,
                                        std::int64_t minDelta) {
    const GrowthTree tree(from, to);
    std::vector<Growth> records;
    for (const std::string& top : tree.tops())
        tree.descend(top, minDelta, records);
    // A top folder is listed whatever its delta; only real growth of the asked size counts.
    std::erase_if(records,
                  [minDelta](const Growth& g) { return g.bytes < minDelta || g.bytes <= 0; });
    std::ranges::stable_sort(records, std::greater{}, &Growth::bytes);
    return records;
}

} // namespace brantle
