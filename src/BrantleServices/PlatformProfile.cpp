#include "BrantleServices/PlatformProfile.hpp"

namespace brantle {

std::shared_ptr<const PlatformProfile> PlatformProfile::current() {
#ifdef __APPLE__
    static const auto profile = std::make_shared<const PlatformProfile>(macOS());
#else
    static const auto profile = std::make_shared<const PlatformProfile>(linux());
#endif
    return profile;
}

} // namespace brantle
