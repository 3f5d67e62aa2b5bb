#pragma once

#include "Command.hpp"

#include "BrantleServices/GuardVerdict.hpp"

#include <cstdint>
#include <optional>
#include <string>
#include <vector>

namespace brantle::cli {

/// The paths and switches of `brantle trash` and `brantle erase`.
struct RemovalRequest {
    std::vector<std::string> paths; // absolute, standardised
    bool json = false;
    bool ledger = false;
};

/// PATH... with --json (and --ledger when allowed); no value on a usage error.
std::optional<RemovalRequest> parsedRemoval(Arguments args, bool ledgerAllowed);

/// One removal run of the Cleanup List, for scripts: every path screened by the live guard,
/// the allowed ones handed on together, one result line per path in the order given.
class RemovalRun {
public:
    RemovalRun(const RemovalRequest& request, bool permanent);

    /// The allowed removals, in the order given, for the recycler or the eraser.
    const std::vector<GuardedRemoval>& allowed() const { return allowed_; }
    /// The allowed removal at `index` (of `allowed()`) was carried out.
    void removed(std::size_t index);
    /// The allowed removal at `index` was not carried out, for `reason`.
    void failed(std::size_t index, const std::string& reason);
    /// Every allowed removal failed for the same reason.
    void allFailed(const std::string& reason);

    std::uint64_t movedBytes() const { return movedBytes_; }
    /// Bytes the allowed removal at `index` took on its volume, measured before removal.
    std::uint64_t bytes(std::size_t index) const { return allowedBytes_[index]; }

    /// Prints the lines (or the JSON result) and returns the exit status.
    int report(bool json) const;

private:
    struct Line {
        std::string path;
        std::optional<std::string> failure; // "NAME: REASON"
    };
    bool permanent_;
    std::vector<Line> lines_;
    std::vector<GuardedRemoval> allowed_;
    std::vector<std::size_t> allowedLine_;
    std::vector<std::uint64_t> allowedBytes_;
    std::uint64_t movedBytes_ = 0;
    int movedCount_ = 0;
};

} // namespace brantle::cli
