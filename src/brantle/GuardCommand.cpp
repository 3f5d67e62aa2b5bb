// brantle guard: the deletion guard's verdict on each path, one line per path, for scripts.
#include "Command.hpp"

#include "BrantleCore/PathText.hpp"
#include "BrantleServices/DeletionGuard.hpp"
#include "BrantleServices/LinuxSystem.hpp"
#include "BrantleServices/Locations.hpp"

#include <cstdio>
#include <optional>
#include <set>
#include <string>
#include <vector>

namespace brantle::cli {

namespace {

struct GuardOptions {
    std::shared_ptr<const PlatformProfile> profile = PlatformProfile::current();
    std::optional<std::string> home;
    std::optional<std::string> app;
    std::optional<std::set<std::string>> running;
    std::vector<std::string_view> paths;
};

std::shared_ptr<const PlatformProfile> profileNamed(std::string_view name) {
    if (name == "linux") return std::make_shared<const PlatformProfile>(PlatformProfile::linux());
    if (name == "macos") return std::make_shared<const PlatformProfile>(PlatformProfile::macOS());
    return nullptr;
}

std::optional<GuardOptions> parsed(Arguments args) {
    GuardOptions options;
    for (std::size_t i = 0; i < args.size(); ++i) {
        const auto arg = args[i];
        const bool valued =
            arg == "--profile" || arg == "--home" || arg == "--app" || arg == "--running";
        if (!valued) {
            if (arg == "--") {
                options.paths.insert(options.paths.end(), args.subspan(i + 1).begin(), args.end());
                break;
            }
            if (arg.starts_with("--")) return std::nullopt;
            options.paths.push_back(arg);
            continue;
        }
        if (++i == args.size()) return std::nullopt;
        const std::string value(args[i]);
        if (arg == "--profile") {
            options.profile = profileNamed(value);
            if (!options.profile) return std::nullopt;
        }
        if (arg == "--home") options.home = value;
        if (arg == "--app") options.app = value;
        if (arg == "--running") {
            if (!options.running) options.running.emplace();
            options.running->insert(PathText::standardised(value));
        }
    }
    if (options.paths.empty()) return std::nullopt;
    return options;
}

DeletionGuard guardFor(GuardOptions& options) {
    auto running = std::make_shared<const std::set<std::string>>(
        options.running ? std::move(*options.running) : LinuxSystem::runningApplications());
    return DeletionGuard(
        options.home.value_or(Locations::homeDirectory()),
        options.app.value_or(LinuxSystem::applicationPath()),
        [running](const std::string& path) { return running->contains(path); }, options.profile);
}

int run(Arguments args);

} // namespace

const Command guardCommand{
    "guard", "guard [--profile linux|macos] [--home PATH] [--app PATH] [--running PATH]... PATH...",
    run};

namespace {

int run(Arguments args) {
    auto options = parsed(args);
    if (!options) return usageError(guardCommand);
    const auto guard = guardFor(*options);
    for (const auto path : options->paths) {
        const auto verdict = guard.check(path);
        if (!verdict.isAllowed()) {
            std::printf("blocked: %.*s\n", static_cast<int>(verdict.reason().size()),
                        verdict.reason().data());
        } else if (const auto& caution = verdict.removal()->caution()) {
            std::printf("allowed: %s\n", caution->c_str());
        } else {
            std::printf("allowed\n");
        }
    }
    return exitOk;
}

} // namespace

} // namespace brantle::cli
