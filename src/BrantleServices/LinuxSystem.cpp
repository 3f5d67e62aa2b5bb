#include "BrantleServices/LinuxSystem.hpp"

#include "BrantleCore/PathText.hpp"

#include <QStandardPaths>

#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <sstream>
#include <sys/stat.h>
#include <unistd.h>

namespace brantle::LinuxSystem {

namespace {

// Mount points escape space, tab, newline and backslash as three octal digits.
std::string unescaped(std::string_view field) {
    std::string out;
    for (std::size_t i = 0; i < field.size(); ++i) {
        const bool octal =
            field[i] == '\\' && i + 3 < field.size() &&
            field.substr(i + 1, 3).find_first_not_of("01234567") == std::string_view::npos;
        if (octal) {
            out += static_cast<char>(std::stoi(std::string(field.substr(i + 1, 3)), nullptr, 8));
            i += 3;
        } else {
            out += field[i];
        }
    }
    return out;
}

std::string fileText(const std::string& path) {
    std::ifstream in(path, std::ios::binary);
    std::ostringstream text;
    text << in.rdbuf();
    return text.str();
}

std::string linkTarget(const std::string& path) {
    std::error_code error;
    auto target = std::filesystem::read_symlink(path, error).string();
    constexpr std::string_view deleted = " (deleted)";
    if (target.ends_with(deleted)) target.resize(target.size() - deleted.size());
    return error ? std::string() : target;
}

// The value of APPIMAGE in a process's environment block, or empty.
std::string appImageOf(const std::string& environ) {
    constexpr std::string_view key = "APPIMAGE=";
    std::size_t start = 0;
    while (start < environ.size()) {
        const auto end = std::min(environ.find('\0', start), environ.size());
        const std::string_view entry(environ.data() + start, end - start);
        if (entry.starts_with(key)) return std::string(entry.substr(key.size()));
        start = end + 1;
    }
    return {};
}

} // namespace

std::set<std::string> mountPointsIn(const std::string& mountinfo) {
    std::set<std::string> points;
    std::istringstream lines(mountinfo);
    std::string line;
    while (std::getline(lines, line)) {
        std::istringstream fields(line);
        std::string id, parent, device, root, mountPoint;
        if (fields >> id >> parent >> device >> root >> mountPoint)
            points.insert(unescaped(mountPoint));
    }
    return points;
}

bool isMountPoint(const std::string& path) {
    return mountPointsIn(fileText("/proc/self/mountinfo")).contains(path);
}

std::vector<std::string> userFolders() {
    std::vector<std::string> folders;
    for (const auto location :
         {QStandardPaths::DesktopLocation, QStandardPaths::DocumentsLocation,
          QStandardPaths::DownloadLocation, QStandardPaths::MusicLocation,
          QStandardPaths::PicturesLocation, QStandardPaths::PublicShareLocation,
          QStandardPaths::TemplatesLocation, QStandardPaths::MoviesLocation}) {
        const auto folder = QStandardPaths::writableLocation(location).toStdString();
        if (folder.starts_with('/')) folders.push_back(PathText::standardised(folder));
    }
    return folders;
}

std::vector<std::filesystem::path> ownProcesses() {
    std::vector<std::filesystem::path> processes;
    std::error_code error;
    for (const auto& entry : std::filesystem::directory_iterator("/proc", error)) {
        const auto pid = entry.path().filename().string();
        struct stat status {};
        if (pid.find_first_not_of("0123456789") == std::string::npos &&
            ::stat(entry.path().c_str(), &status) == 0 && status.st_uid == ::geteuid())
            processes.push_back(entry.path());
    }
    return processes;
}

std::set<std::string> runningApplications() {
    std::set<std::string> apps;
    for (const auto& process : ownProcesses()) {
        for (const auto& app :
             {linkTarget(process / "exe"), appImageOf(fileText(process / "environ"))}) {
            if (app.starts_with('/')) apps.insert(PathText::standardised(app));
        }
    }
    return apps;
}

std::string applicationPath() {
    if (const char* appImage = std::getenv("APPIMAGE"); appImage && *appImage == '/')
        return appImage;
    return linkTarget("/proc/self/exe");
}

} // namespace brantle::LinuxSystem
