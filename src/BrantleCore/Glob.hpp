#pragma once

#include <string>
#include <string_view>

namespace brantle {

/// Shell wildcards over bytes, as fnmatch(3) reads them without flags in a single-byte
/// locale: `*`, `?`, `[a-z]`, `[!x]` or `[^x]`, `\` escaping the next byte. Several times
/// faster than fnmatch in a UTF-8 locale, which widens both strings on every call; the
/// search uses it for ASCII names.
class Glob {
public:
    explicit Glob(std::string_view pattern);

    /// False for a `[` left open or a `\` at the end, which fnmatch reads its own way:
    /// such a pattern is fnmatch's to match.
    bool isWellFormed() const { return wellFormed_; }
    bool matches(std::string_view name) const;
    /// The longest run of plain bytes every match holds, for a quick test before matching.
    const std::string& requiredText() const { return required_; }

private:
    /// Whether `c` is in the bracket expression at `at` (just past its `[`); `at` moves past
    /// its `]`. False with `at` unmoved when the bracket is not closed.
    bool inBracket(std::size_t& at, char c, bool& closed) const;

    std::string pattern_;
    std::string required_;
    bool wellFormed_ = true;
};

} // namespace brantle
