#include "BrantleCore/TreeSearch.hpp"

#include "BrantleCore/Glob.hpp"

#include <algorithm>
#include <cstring>
#include <cwctype>
#include <fnmatch.h>

namespace brantle {

namespace {

constexpr std::uint16_t deadBit = NodeFlags::dead.rawValue;

bool largerFirst(const SearchHit& a, const SearchHit& b) {
    return a.size != b.size ? a.size > b.size : a.node < b.node;
}

// The code point of the well-formed sequence of 2 to 4 bytes at `at`, or none.
std::optional<char32_t> decode(std::string_view s, std::size_t at, std::size_t& length) {
    const auto lead = static_cast<unsigned char>(s[at]);
    length = lead >= 0xF0 ? 4 : lead >= 0xE0 ? 3 : lead >= 0xC0 ? 2 : 0;
    if (length == 0 || lead > 0xF4 || at + length > s.size()) return std::nullopt;
    char32_t code = lead & (0x7F >> length);
    for (std::size_t k = 1; k < length; ++k) {
        const auto next = static_cast<unsigned char>(s[at + k]);
        if ((next & 0xC0) != 0x80) return std::nullopt;
        code = (code << 6) | (next & 0x3F);
    }
    static constexpr char32_t smallest[] = {0, 0, 0x80, 0x800, 0x10000};
    if (code < smallest[length] || code > 0x10FFFF || (code >= 0xD800 && code <= 0xDFFF))
        return std::nullopt;
    return code;
}

// Writes `code` as UTF-8 at `out`; returns the bytes written.
std::size_t encode(char32_t code, char* out) {
    if (code < 0x80) {
        out[0] = static_cast<char>(code);
        return 1;
    }
    std::size_t length = code < 0x800 ? 2 : code < 0x10000 ? 3 : 4;
    static constexpr unsigned char leads[] = {0, 0, 0xC0, 0xE0, 0xF0};
    for (std::size_t k = length - 1; k > 0; --k, code >>= 6)
        out[k] = static_cast<char>(0x80 | (code & 0x3F));
    out[0] = static_cast<char>(leads[length] | code);
    return length;
}

constexpr std::uint64_t repeated(std::uint8_t byte) {
    return 0x0101'0101'0101'0101ull * byte;
}
constexpr std::uint64_t highBits = repeated(0x80);

bool isAscii(std::string_view text) {
    return std::all_of(text.begin(), text.end(),
                       [](char c) { return static_cast<unsigned char>(c) < 0x80; });
}

/// The query's name, folded once, and how to hold a folded name against it.
class NameMatcher {
public:
    explicit NameMatcher(std::string_view name)
        : isGlob_(TreeSearch::isGlob(name)), pattern_(folded(name)), glob_(pattern_) {
        // Classes such as [:alpha:] and letters beyond ASCII are fnmatch's to read.
        byteGlob_ =
            glob_.isWellFormed() && isAscii(pattern_) && pattern_.find("[:") == std::string::npos &&
            pattern_.find("[=") == std::string::npos && pattern_.find("[.") == std::string::npos;
        required_ = isGlob_ ? glob_.requiredText() : pattern_;
    }

    bool matchesAll() const { return pattern_.find_first_not_of('*') == std::string::npos; }

    /// `folded` must be NUL-terminated, as a std::string's data is.
    bool matches(const std::string& folded, bool ascii) const {
        if (folded.find(required_) == std::string::npos) return false;
        if (!isGlob_) return true;
        if (byteGlob_ && ascii) return glob_.matches(folded);
        return fnmatch(pattern_.c_str(), folded.c_str(), 0) == 0;
    }

private:
    static std::string folded(std::string_view name) {
        std::string out;
        TreeSearch::fold(name, out);
        return out;
    }

    bool isGlob_;
    std::string pattern_;
    Glob glob_;
    bool byteGlob_ = false;
    std::string required_;
};

} // namespace

TreeSearch::TreeSearch(const FileTree& tree) : tree_(tree), hasDead_(!tree.isCompact()) {}

bool TreeSearch::isGlob(std::string_view name) {
    return name.find_first_of("*?[") != std::string_view::npos;
}

void TreeSearch::fold(std::string_view name, std::string& out) {
    foldName(name, out);
}

bool TreeSearch::foldName(std::string_view name, std::string& out) {
    bool ascii = true;
    // ASCII keeps its length and any other letter takes two bytes at least and four at most,
    // so the folded name is at most twice as long.
    out.resize_and_overwrite(name.size() * 2, [&](char* to, std::size_t) {
        std::size_t written = 0;
        std::size_t i = 0;
        // Eight ASCII bytes at a time: each capital gains the 0x20 bit.
        for (; i + 8 <= name.size(); i += 8, written += 8) {
            std::uint64_t word = 0;
            std::memcpy(&word, name.data() + i, 8);
            if ((word & highBits) != 0) break;
            const auto fromA = word + repeated(0x80 - 'A');
            const auto pastZ = word + repeated(0x80 - 'Z' - 1);
            word |= ((fromA & ~pastZ) & highBits) >> 2;
            std::memcpy(to + written, &word, 8);
        }
        while (i < name.size()) {
            const auto byte = static_cast<unsigned char>(name[i]);
            if (byte < 0x80) {
                to[written++] = static_cast<char>(byte >= 'A' && byte <= 'Z' ? byte + 32 : byte);
                ++i;
                continue;
            }
            ascii = false;
            std::size_t length = 0;
            const auto code = decode(name, i, length);
            if (!code) {
                to[written++] = name[i++];
                continue;
            }
            written += encode(static_cast<char32_t>(std::towlower(static_cast<std::wint_t>(*code))),
                              to + written);
            i += length;
        }
        return written;
    });
    return ascii;
}

bool TreeSearch::reachable(NodeId node) const {
    const auto& columns = tree_.columns();
    for (NodeId at = node; at != FileTree::none; at = columns.parents[at])
        if ((columns.flagBits[at] & deadBit) != 0) return false;
    return true;
}

void TreeSearch::keep(const SearchHit& hit, std::size_t limit) {
    // A heap whose front is the smallest kept: most matches are turned away by one comparison.
    if (kept_.size() < limit) {
        kept_.push_back(hit);
        std::push_heap(kept_.begin(), kept_.end(), largerFirst);
    } else if (limit > 0 && largerFirst(hit, kept_.front())) {
        std::pop_heap(kept_.begin(), kept_.end(), largerFirst);
        kept_.back() = hit;
        std::push_heap(kept_.begin(), kept_.end(), largerFirst);
    }
}

SearchResults TreeSearch::run(const SearchQuery& query, std::size_t limit) {
    SearchResults results;
    const bool filtered = query.largerThan > 0 || query.notModifiedSince;
    if (query.name.empty() && !filtered) return results;
    const NameMatcher matcher(query.name);
    const bool anyName = matcher.matchesAll();
    const auto since = query.notModifiedSince.value_or(0);
    const auto& c = tree_.columns();
    const auto count = static_cast<NodeId>(c.parents.size());
    kept_.clear();
    for (NodeId id = 1; id < count; ++id) {
        if ((c.flagBits[id] & deadBit) != 0) continue;
        if (query.largerThan > 0 && c.sizes[id] <= query.largerThan) continue;
        if (query.notModifiedSince && c.mtimes[id] > since) continue;
        if (!anyName) {
            const bool ascii =
                foldName({c.names.data() + c.nameOffsets[id], c.nameLengths[id]}, folded_);
            if (!matcher.matches(folded_, ascii)) continue;
        }
        if (hasDead_ && !reachable(id)) continue;
        ++results.matchCount;
        keep({id, c.sizes[id]}, limit);
    }
    std::sort(kept_.begin(), kept_.end(), largerFirst);
    results.hits = kept_;
    return results;
}

} // namespace brantle
