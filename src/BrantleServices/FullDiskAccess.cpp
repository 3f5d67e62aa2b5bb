#include "BrantleServices/FullDiskAccess.hpp"

#include "BrantleServices/Locations.hpp"

#include <cerrno>
#include <fcntl.h>
#include <unistd.h>

namespace brantle::FullDiskAccess {

std::vector<std::string> probes(std::string_view home) {
    const std::string h(home);
    return {
        h + "/Library/Application Support/com.apple.TCC/TCC.db",
        h + "/Library/Safari",
        h + "/Library/Mail",
        h + "/Library/Messages",
        h + "/Library/Cookies",
        h + "/Library/Containers/com.apple.stocks",
    };
}

int tryOpen(const std::string& path) {
    const int fd = ::open(path.c_str(), O_RDONLY | O_NONBLOCK | O_CLOEXEC);
    if (fd < 0) return errno;
    ::close(fd);
    return 0;
}

Status status(const std::vector<std::string>& probing, const OpenFunction& open) {
    bool refused = false;
    for (const std::string& path : probing) {
        const int result = open(path);
        if (result == 0) return Status::granted;
        // Only a refusal says anything; a missing file just means the app was never used.
        if (result == EPERM || result == EACCES) refused = true;
    }
    return refused ? Status::denied : Status::unknown;
}

Status current() {
    return status(probes(Locations::homeDirectory()), tryOpen);
}

} // namespace brantle::FullDiskAccess
