#include "ScanArguments.hpp"

#include "BrantleCore/DirectoryReader.hpp"

#include <cerrno>
#include <cstdio>
#include <cstring>
#include <unistd.h>

namespace brantle::cli {

bool isReadableFolder(const std::string& path) {
    const int fd = openDirectory(path);
    if (fd >= 0) {
        close(fd);
        return true;
    }
    if (errno == ENOTDIR)
        std::fprintf(stderr, "Not a folder: %s\n", path.c_str());
    else
        std::fprintf(stderr, "%s: %s\n", path.c_str(), std::strerror(errno));
    return false;
}

std::optional<ScanArguments> ScanArguments::parse(Arguments args, bool acceptsSave) {
    ScanArguments parsed;
    parsed.workers = activeProcessors();
    std::optional<std::string> operand;
    for (std::size_t i = 0; i < args.size(); ++i) {
        const bool hasValue = i + 1 < args.size();
        if (args[i] == "--json") {
            parsed.json = true;
        } else if (args[i] == "--workers" && hasValue) {
            const auto workers = parseCount(args[++i]);
            if (!workers || *workers < 1 || *workers > maxWorkers) return std::nullopt;
            parsed.workers = *workers;
        } else if (args[i] == "--save" && acceptsSave && hasValue) {
            parsed.save = std::string(args[++i]);
        } else if (args[i].starts_with("--") || operand || args[i].empty()) {
            return std::nullopt;
        } else {
            operand = std::string(args[i]);
        }
    }
    if (!operand || (parsed.save && parsed.save->empty())) return std::nullopt;
    parsed.operand = *operand;
    return parsed;
}

} // namespace brantle::cli
