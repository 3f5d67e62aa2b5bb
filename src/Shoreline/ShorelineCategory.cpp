#include "Shoreline/ShorelineCategory.hpp"

#include "BrantleCore/Fatal.hpp"

namespace shoreline {

namespace {

std::uint64_t sum(const std::vector<Finding>& findings, bool onlySafe) {
    std::uint64_t total = 0;
    for (const auto& finding : findings) {
        if (onlySafe && finding.safety != Safety::safe) continue;
        if (__builtin_add_overflow(total, finding.bytes, &total))
            brantle::fatal("suggestion category total overflows");
    }
    return total;
}

} // namespace

std::uint64_t ShorelineCategory::total() const {
    return sum(findings, false);
}

std::uint64_t ShorelineCategory::safeTotal() const {
    return sum(findings, true);
}

} // namespace shoreline
