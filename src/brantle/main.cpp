// brantle: the command-line front end of the core, for scripts, benchmarks and headless machines.
#include "Command.hpp"

#include "BrantleCore/PathText.hpp"

#include <algorithm>
#include <array>
#include <charconv>
#include <cstdio>
#include <filesystem>
#include <optional>
#include <string_view>
#include <unistd.h>
#include <vector>

namespace brantle::cli {

// Subcommands register here, one line each.
// clang-format off
const std::array commands{
    catchUpCommand, diffCommand, eraseCommand, exportCommand,   guardCommand,   importCommand,
    lzfseCommand,   ringCommand, scanCommand,  snapshotCommand, suggestCommand, trashCommand,
};
// clang-format on

int usageError(const Command& command) {
    std::fprintf(stderr, "usage: brantle %.*s\n", static_cast<int>(command.usage.size()),
                 command.usage.data());
    return exitUsage;
}

std::string absolutePath(std::string_view path) {
    std::error_code error;
    const auto absolute = std::filesystem::absolute(std::filesystem::path(path), error);
    if (error) return std::string(path);
    return PathText::standardised(absolute.string());
}

int activeProcessors() {
    const long count = sysconf(_SC_NPROCESSORS_ONLN);
    return count < 1 ? 1 : static_cast<int>(count);
}

std::optional<int> parseCount(std::string_view text) {
    int value = 0;
    const auto [end, error] = std::from_chars(text.data(), text.data() + text.size(), value);
    if (error != std::errc() || end != text.data() + text.size() || value < 0) return std::nullopt;
    return value;
}

namespace {

int printUsage(std::FILE* out) {
    std::fprintf(out, "usage: brantle COMMAND [ARGS]\n"
                      "       brantle COMMAND --help\n"
                      "       brantle --version\n\ncommands:\n");
    for (const auto& command : commands)
        std::fprintf(out, "  brantle %.*s\n", static_cast<int>(command.usage.size()),
                     command.usage.data());
    return out == stdout ? exitOk : exitUsage;
}

int printHelp(const Command& command) {
    const auto help = commandHelp(command.name);
    std::printf("usage: brantle %.*s\n%s%.*s", static_cast<int>(command.usage.size()),
                command.usage.data(), help.empty() ? "" : "\n", static_cast<int>(help.size()),
                help.data());
    return exitOk;
}

const Command* commandNamed(std::string_view name) {
    for (const auto& command : commands)
        if (command.name == name) return &command;
    return nullptr;
}

bool asksForHelp(Arguments args) {
    return std::ranges::find(args, "--help") != args.end() || (!args.empty() && args[0] == "-h");
}

} // namespace

} // namespace brantle::cli

int main(int argc, char** argv) {
    using namespace brantle::cli;
    if (argc < 2) return printUsage(stderr);
    std::string_view name = argv[1];
    const std::vector<std::string_view> args(argv + 2, argv + argc);
    if (name == "--version") {
        std::printf("brantle %s\n", AMBREL_VERSION);
        return exitOk;
    }
    if (name == "--help" || name == "-h" || (name == "help" && args.empty()))
        return printUsage(stdout);
    const bool help = name == "help";
    if (help) name = args[0];
    if (const auto* command = commandNamed(name))
        return help || asksForHelp(args) ? printHelp(*command) : command->run(args);
    std::fprintf(stderr, "brantle: unknown command '%.*s'\n", static_cast<int>(name.size()),
                 name.data());
    return printUsage(stderr);
}
