#include "HelperKit/HelperIdentity.hpp"

namespace helperkit::HelperIdentity {

std::string versionString(std::string_view build) {
    return std::to_string(protocolVersion) + "/" + std::string(build);
}

std::string_view build() {
    return AMBREL_BUILD;
}

std::string_view installedPath() {
    return AMBREL_HELPER_PATH;
}

} // namespace helperkit::HelperIdentity
