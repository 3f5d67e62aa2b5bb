#include "BrantleServices/DeletionGuard.hpp"

#include "BrantleCore/PathText.hpp"
#include "BrantleServices/LinuxSystem.hpp"
#include "BrantleServices/Locations.hpp"

#include <cstdlib>

namespace brantle {

namespace {

// The home as given and, when it differs, as its links resolve.
std::vector<std::string> homesOf(const std::string& home) {
    std::vector<std::string> homes{home};
    if (char* real = ::realpath(home.c_str(), nullptr)) {
        if (home != real) homes.emplace_back(real);
        std::free(real);
    }
    return homes;
}

} // namespace

DeletionGuard::DeletionGuard(std::string_view home, std::string_view appBundle,
                             RunningAppPredicate isRunningApp,
                             const std::shared_ptr<const PlatformProfile>& profile)
    : home_(PathText::standardised(home)), appBundle_(PathText::standardised(appBundle)),
      isRunningApp_(std::move(isRunningApp)),
      rules_(std::make_shared<const GuardRules>(*profile, homesOf(home_), appBundle_,
                                                isRunningApp_)) {}

DeletionGuard DeletionGuard::live(const std::shared_ptr<const PlatformProfile>& profile) {
    auto running =
        std::make_shared<const std::set<std::string>>(LinuxSystem::runningApplications());
    return DeletionGuard(
        Locations::homeDirectory(), LinuxSystem::applicationPath(),
        [running](const std::string& path) { return running->contains(path); }, profile);
}

GuardVerdict DeletionGuard::check(std::string_view path) const {
    if (!path.starts_with('/')) return GuardVerdict::blocked("Not an absolute path");
    // A NUL ends the path for every system call, so the item acted on would not be the one
    // judged here.
    if (path.find('\0') != std::string_view::npos)
        return GuardVerdict::blocked("Not a valid path — it holds a NUL byte");
    auto standard = PathText::standardised(path);
    if (auto reason = rules_->blockReason(standard)) return GuardVerdict::blocked(*reason);
    auto caution = rules_->caution(standard);
    return GuardVerdict::allowed(GuardedRemoval(std::move(standard), std::move(caution)));
}

const std::set<std::string, std::less<>>& regenerableDotFolders() {
    static const std::set<std::string, std::less<>> names{
        ".npm",  ".gradle",     ".cache", ".cocoapods", ".pub-cache",
        ".yarn", ".pnpm-store", ".nuget", ".m2",        ".bun"};
    return names;
}

} // namespace brantle
