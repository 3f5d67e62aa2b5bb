#include "BrantleServices/Locations.hpp"

#include <QDir>
#include <QStandardPaths>

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

} // namespace brantle::Locations
