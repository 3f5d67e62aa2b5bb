#include "Shoreline/RuleText.hpp"
#include "Shoreline/Rules.hpp"

#include <algorithm>

namespace shoreline {

InstallersRule::InstallersRule()
    : Rule("installers", "Old installers", "shippingbox.and.arrow.backward",
           "Disk images and installer packages in Downloads. Once installed, you rarely need "
           "them.") {}

std::vector<Candidate> InstallersRule::candidates(const ShorelineContext& context) const {
    const auto& folders = context.folders();
    std::vector<Candidate> out;
    for (const auto child : context.children(folders.downloads)) {
        const std::string extension = lowerExtension(context.tree.nameBytes(child));
        if (extension.empty() || std::ranges::find(folders.installerExtensions, extension) ==
                                     folders.installerExtensions.end())
            continue;
        const auto age = context.ageInDays(child);
        if (age >= 14)
            out.push_back({child, Safety::review,
                           "Installer downloaded " + ageText(age) +
                               " ago — the app is probably installed by now."});
    }
    return out;
}

} // namespace shoreline
