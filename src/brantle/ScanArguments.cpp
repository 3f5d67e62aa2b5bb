#include "ScanArguments.hpp"

namespace brantle::cli {

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
            if (!workers) return std::nullopt;
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
