#pragma once
// Runs shell commands and returns what they printed on standard output.

#include <array>
#include <cstdio>
#include <string>
#include <sys/wait.h>
#include <utility>

// A path as one shell word (paths with single quotes are not expected in tests).
inline std::string quoted(const std::string& path) {
    return "'" + path + "'";
}

inline std::string commandOutput(const std::string& command, int* status = nullptr) {
    std::string out;
    FILE* pipe = popen(command.c_str(), "r");
    if (!pipe) return out;
    std::array<char, 4096> chunk;
    while (const std::size_t n = std::fread(chunk.data(), 1, chunk.size(), pipe))
        out.append(chunk.data(), n);
    const int result = pclose(pipe);
    if (status) *status = WIFEXITED(result) ? WEXITSTATUS(result) : -1;
    return out;
}

#ifdef AMBREL_BRANTLE
// Runs the built brantle tool with `arguments` (a shell fragment) and returns its standard output.
inline std::string brantleOutput(const std::string& arguments, int* status = nullptr) {
    return commandOutput(std::string(AMBREL_BRANTLE) + " " + arguments, status);
}

// brantle's standard output and exit status, its standard error dropped.
inline std::pair<std::string, int> brantleRun(const std::string& arguments) {
    int status = -1;
    std::string out = brantleOutput(arguments + " 2>/dev/null", &status);
    return {std::move(out), status};
}
#endif

#ifdef AMBREL_MAKE_TREE
// Generates the benchmark corpus of `entries` entries in `folder`. `withoutHardLinks` deletes
// the multi-link files, whose counted name depends on the order the scanner's workers meet them.
inline bool makeCorpus(const std::string& folder, int entries, bool withoutHardLinks = false) {
    int status = -1;
    std::string command = "python3 " AMBREL_MAKE_TREE " --entries " + std::to_string(entries) +
                          " '" + folder + "' >/dev/null 2>&1";
    if (withoutHardLinks) command += " && find '" + folder + "' -type f -links +1 -delete";
    commandOutput(command, &status);
    return status == 0;
}
#endif
