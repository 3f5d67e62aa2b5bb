#include "Shoreline/RunningApps.hpp"

#include "BrantleCore/LinuxSystem.hpp"

#include <filesystem>
#include <fstream>
#include <sys/stat.h>
#include <unistd.h>

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
    std::error_code error;
    for (const auto& entry : std::filesystem::directory_iterator("/proc", error)) {
        const auto pid = entry.path().filename().string();
        struct stat status {};
        if (pid.find_first_not_of("0123456789") != std::string::npos ||
            ::stat(entry.path().c_str(), &status) != 0 || status.st_uid != ::geteuid())
            continue;
        if (auto id = flatpakID(entry.path() / "root/.flatpak-info"); !id.empty())
            ids.insert(std::move(id));
    }
    ids.erase("");
    return ids;
}

} // namespace shoreline
