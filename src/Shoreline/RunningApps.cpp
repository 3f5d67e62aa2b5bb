#include "Shoreline/RunningApps.hpp"

#include "BrantleServices/LinuxSystem.hpp"

#include <filesystem>
#include <fstream>

namespace shoreline {

namespace {

/// The "name=" of the [Application] group of a sandbox's .flatpak-info, or empty.
std::string flatpakID(const std::filesystem::path& info) {
    std::ifstream in(info);
    std::string line;
    bool application = false;
    while (std::getline(in, line)) {
        if (line.starts_with('['))
            application = line == "[Application]";
        else if (application && line.starts_with("name="))
            return line.substr(5);
    }
    return {};
}

} // namespace

std::set<std::string, std::less<>> RunningApps::bundleIDs() {
    std::set<std::string, std::less<>> ids;
    for (const auto& app : brantle::LinuxSystem::runningApplications())
        ids.insert(std::filesystem::path(app).filename().string());
    for (const auto& process : brantle::LinuxSystem::ownProcesses())
        if (auto id = flatpakID(process / "root/.flatpak-info"); !id.empty())
            ids.insert(std::move(id));
    ids.erase("");
    return ids;
}

} // namespace shoreline
