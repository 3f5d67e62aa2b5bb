#include "BrantleCore/Glob.hpp"

namespace brantle {

Glob::Glob(std::string_view pattern) : pattern_(pattern) {
    std::string run;
    auto endRun = [&] {
        if (run.size() > required_.size()) required_ = run;
        run.clear();
    };
    for (std::size_t i = 0; i < pattern_.size();) {
        const char c = pattern_[i];
        bool closed = false;
        std::size_t past = i + 1;
        if (c == '*' || c == '?') {
            endRun();
            ++i;
        } else if (c == '[' && (inBracket(past, '\0', closed), closed)) {
            endRun();
            i = past;
        } else if (c == '\\') {
            wellFormed_ = wellFormed_ && i + 1 < pattern_.size();
            if (i + 1 < pattern_.size()) run += pattern_[i + 1];
            i += 2;
        } else {
            if (c == '[') wellFormed_ = false;
            run += c;
            ++i;
        }
    }
    endRun();
}

bool Glob::inBracket(std::size_t& at, char c, bool& closed) const {
    const auto& p = pattern_;
    std::size_t i = at;
    const bool negated = i < p.size() && (p[i] == '!' || p[i] == '^');
    if (negated) ++i;
    const auto byte = static_cast<unsigned char>(c);
    bool hit = false;
    // A `]` first in the list is one of its members.
    for (bool first = true; i < p.size() && (p[i] != ']' || first); first = false) {
        if (p[i] == '\\' && i + 1 < p.size()) ++i;
        auto low = static_cast<unsigned char>(p[i++]);
        auto high = low;
        if (i + 1 < p.size() && p[i] == '-' && p[i + 1] != ']') {
            if (p[i + 1] == '\\' && i + 2 < p.size()) ++i;
            high = static_cast<unsigned char>(p[i + 1]);
            i += 2;
        }
        if (low <= byte && byte <= high) hit = true;
    }
    closed = i < p.size();
    if (!closed) return false;
    at = i + 1;
    return hit != negated;
}

bool Glob::matches(std::string_view name) const {
    const auto& p = pattern_;
    // Matches one byte at `at`, moving `at` past the pattern's element on success.
    auto step = [&](std::size_t& at, char c) {
        const char element = p[at];
        if (element == '?') {
            ++at;
            return true;
        }
        if (element == '[') {
            std::size_t past = at + 1;
            bool closed = false;
            const bool hit = inBracket(past, c, closed);
            if (closed) {
                if (hit) at = past;
                return hit;
            }
        }
        if (element == '\\' && at + 1 < p.size()) {
            if (p[at + 1] != c) return false;
            at += 2;
            return true;
        }
        if (element != c) return false;
        ++at;
        return true;
    };
    constexpr auto none = std::string::npos;
    std::size_t at = 0, in = 0, afterStar = none, starIn = 0;
    for (;;) {
        if (at < p.size()) {
            if (p[at] == '*') {
                afterStar = ++at;
                starIn = in;
                continue;
            }
            if (in < name.size() && step(at, name[in])) {
                ++in;
                continue;
            }
        } else if (in == name.size()) {
            return true;
        }
        // The last star takes one more byte, and the rest is tried again.
        if (afterStar == none || starIn >= name.size()) return false;
        at = afterStar;
        in = ++starIn;
    }
}

} // namespace brantle
