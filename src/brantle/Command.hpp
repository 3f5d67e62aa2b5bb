#pragma once

#include <optional>
#include <span>
#include <string>
#include <string_view>

namespace brantle::cli {

/// Exit statuses shared by every subcommand.
inline constexpr int exitOk = 0;
inline constexpr int exitFailure = 1;
inline constexpr int exitUsage = 2;

using Arguments = std::span<const std::string_view>;

/// One subcommand: its name, a one-line usage and the function that runs it with the
/// arguments after the subcommand's name. Each lives in its own NameCommand.cpp.
struct Command {
    std::string_view name;
    std::string_view usage;
    int (*run)(Arguments args);
};

/// Prints "usage: brantle USAGE" to standard error and returns exitUsage.
int usageError(const Command& command);

/// The paragraph `brantle NAME --help` prints under the usage line; empty when there is none.
std::string_view commandHelp(std::string_view name);

/// The absolute form of `path`, made lexically (symbolic links are not resolved).
std::string absolutePath(std::string_view path);

/// Processors online, at least 1: the scanner's worker count by default.
int activeProcessors();

/// A non-negative decimal count, or no value when the text is anything else.
std::optional<int> parseCount(std::string_view text);

// The subcommands, each defined in its NameCommand.cpp.
extern const Command catchUpCommand;
extern const Command diffCommand;
extern const Command eraseCommand;
extern const Command exportCommand;
extern const Command guardCommand;
extern const Command importCommand;
extern const Command lzfseCommand;
extern const Command ringCommand;
extern const Command scanCommand;
extern const Command snapshotCommand;
extern const Command suggestCommand;
extern const Command trashCommand;

} // namespace brantle::cli
