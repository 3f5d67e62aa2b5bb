#pragma once

#include "BrantleCore/FileTree.hpp"

#include <cstddef>
#include <cstdint>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace brantle {

/// What to look for. A name holding `*`, `?` or `[` is a glob matched against the whole
/// name; any other name is found anywhere in it. Both ignore case. An empty name matches
/// every item, but only together with a filter.
struct SearchQuery {
    std::string name;
    std::uint64_t largerThan = 0; ///< allocated bytes; 0 for no limit
    /// Seconds since 1970: items modified later are left out.
    std::optional<std::int64_t> notModifiedSince;
};

struct SearchHit {
    NodeId node;
    std::uint64_t size;

    bool operator==(const SearchHit&) const = default;
};

struct SearchResults {
    std::vector<SearchHit> hits; ///< the largest matches, largest first
    std::size_t matchCount = 0;  ///< every match, the ones not listed included
};

/// Finds items of one tree by name, size and age: one pass over the columns, no allocation
/// per node (names are folded into a buffer the search keeps). The root is never a match.
class TreeSearch {
public:
    explicit TreeSearch(const FileTree& tree);

    /// The matches of `query`, at most `limit` of them listed. Nothing for a query with no
    /// name and no filter.
    SearchResults run(const SearchQuery& query, std::size_t limit);

    /// The name lower-cased for matching: ASCII and, as the C library's locale knows them,
    /// other letters. Bytes that are no UTF-8 stay as they are.
    static void fold(std::string_view name, std::string& out);
    static bool isGlob(std::string_view name);

private:
    /// `fold`, telling whether the name was all ASCII.
    static bool foldName(std::string_view name, std::string& out);
    /// Keeps `hit` among the `limit` largest so far.
    void keep(const SearchHit& hit, std::size_t limit);
    /// A node that is live but sits below a removed folder is gone too.
    bool reachable(NodeId node) const;

    const FileTree& tree_;
    bool hasDead_ = false;
    std::string folded_;
    std::vector<SearchHit> kept_;
};

} // namespace brantle
