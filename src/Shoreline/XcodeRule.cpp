#include "Shoreline/RuleText.hpp"
#include "Shoreline/Rules.hpp"

namespace shoreline {

using brantle::NodeId;

XcodeRule::XcodeRule()
    : Rule("xcode", "Xcode", "hammer",
           "Build products, old archives and device symbols Xcode can recreate.") {}

std::vector<Candidate> XcodeRule::candidates(const ShorelineContext& context) const {
    const std::string& developer = context.folders().xcodeDeveloper;
    if (developer.empty()) return {};
    const std::string xcode = developer + "/Xcode/";
    std::vector<Candidate> out;
    for (const NodeId child : context.children(xcode + "DerivedData")) {
        if (context.tree.size(child) >= oneMiB)
            out.push_back(
                {child, Safety::safe, "Build products — Xcode rebuilds them on the next build."});
    }
    for (const char* platform : {"iOS", "watchOS", "tvOS", "visionOS"}) {
        for (const NodeId child : context.children(xcode + platform + " DeviceSupport")) {
            const auto age = context.ageInDays(child);
            if (age >= 90)
                out.push_back({child, Safety::review,
                               "Debug symbols last used " + ageText(age) +
                                   " ago — re-downloaded when that device connects."});
        }
    }
    for (const NodeId dateFolder : context.children(xcode + "Archives")) {
        for (const NodeId archive : context.tree.children(dateFolder)) {
            const auto age = context.ageInDays(archive);
            if (age >= 180)
                out.push_back({archive, Safety::review,
                               "App archive from " + ageText(age) +
                                   " ago — keep it if you still symbolicate crashes from that "
                                   "release."});
        }
    }
    const auto simulator = context.node(developer + "/CoreSimulator/Caches");
    if (simulator && context.tree.size(*simulator) >= oneMiB)
        out.push_back({*simulator, Safety::safe, "Simulator cache — rebuilt automatically."});
    return out;
}

} // namespace shoreline
