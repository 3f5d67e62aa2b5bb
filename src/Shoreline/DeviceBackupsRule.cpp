#include "Shoreline/RuleText.hpp"
#include "Shoreline/Rules.hpp"

namespace shoreline {

DeviceBackupsRule::DeviceBackupsRule()
    : Rule("backups", "Old device backups", "iphone",
           "iPhone and iPad backups more than a year old.") {}

std::vector<Candidate> DeviceBackupsRule::candidates(const ShorelineContext& context) const {
    std::vector<Candidate> out;
    for (const auto child : context.children(context.folders().deviceBackups)) {
        const auto age = context.ageInDays(child);
        if (age >= 365)
            out.push_back(
                {child, Safety::caution, "Device backup last updated " + ageText(age) + " ago."});
    }
    return out;
}

} // namespace shoreline
