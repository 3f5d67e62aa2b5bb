#include "BrantleServices/Locations.hpp"

#include <QDir>
#include <QStandardPaths>

#include <cstdlib>

namespace brantle::Locations {

std::string dataDirectory() {
    return (QStandardPaths::writableLocation(QStandardPaths::GenericDataLocation) + "/Ambrel")
        .toStdString();
}

std::string cacheDirectory() {
    return (QStandardPaths::writableLocation(QStandardPaths::GenericCacheLocation) + "/Ambrel")
        .toStdString();
}

std::string homeDirectory() {
    return QDir::homePath().toStdString();
}

std::string realHomeDirectory() {
    auto home = homeDirectory();
    char* real = ::realpath(home.c_str(), nullptr);
    if (!real) return home;
    std::string resolved(real);
    std::free(real);
    return resolved;
}

std::string homeIn(const FileTree& tree) {
    auto home = homeDirectory();
    if (tree.node(home)) return home;
    const auto real = realHomeDirectory();
    return tree.node(real) ? real : home;
}

std::string trashDirectory() {
    return (QStandardPaths::writableLocation(QStandardPaths::GenericDataLocation) + "/Trash")
        .toStdString();
}

} // namespace brantle::Locations
