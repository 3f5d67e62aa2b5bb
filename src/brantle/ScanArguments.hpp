#pragma once

#include "Command.hpp"

#include <optional>
#include <string>

namespace brantle::cli {

/// The arguments of the commands that scan one place: OPERAND [--workers N] [--json], plus
/// [--save FILE] for the commands that accept it.
/// Whether `path` is a folder that can be read; if not, says why on standard error
/// ("Not a folder: PATH", or the system's reason).
bool isReadableFolder(const std::string& path);

struct ScanArguments {
    static constexpr int maxWorkers = 1024;

    std::string operand; ///< as given, never empty
    int workers = 1;     ///< processors online unless --workers says otherwise
    bool json = false;
    std::optional<std::string> save; ///< never empty when present

    /// No value when an option is unknown or lacks its value, --workers is outside
    /// 1…maxWorkers, or the operand is missing, empty or repeated.
    static std::optional<ScanArguments> parse(Arguments args, bool acceptsSave);
};

} // namespace brantle::cli
