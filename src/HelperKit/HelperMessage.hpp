#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <variant>
#include <vector>

namespace helperkit {

/// Numbers a request so that its reply can be told apart from the reply to another request
/// (a refused second scan is answered while the first is still running).
using CallID = std::uint32_t;

// The helper protocol: sent by the application, served by the helper.

/// Asks for the helper's version string.
struct VersionRequest {
    CallID call = 0;
    friend bool operator==(const VersionRequest&, const VersionRequest&) = default;
};

/// Asks the helper to scan the folder at `path`, leaving out the entries at `excludedPaths`.
struct ScanRequest {
    CallID call = 0;
    std::string path;
    std::vector<std::string> excludedPaths;
    friend bool operator==(const ScanRequest&, const ScanRequest&) = default;
};

/// Stops the running scan; never answered.
struct CancelRequest {
    friend bool operator==(const CancelRequest&, const CancelRequest&) = default;
};

/// The answer to a VersionRequest.
struct VersionReply {
    CallID call = 0;
    std::string version;
    friend bool operator==(const VersionReply&, const VersionReply&) = default;
};

/// The answer to a ScanRequest: the number of batches sent before it, or 0 and the reason the
/// scan was not done.
struct ScanReply {
    CallID call = 0;
    std::uint64_t batches = 0;
    std::optional<std::string> error;
    friend bool operator==(const ScanReply&, const ScanReply&) = default;
};

// The client protocol: sent by the helper while it serves a scan.

/// One block of the encoded scan and where it starts in the whole.
struct Batch {
    std::uint64_t offset = 0;
    std::vector<std::uint8_t> bytes;
    friend bool operator==(const Batch&, const Batch&) = default;
};

/// Files seen and bytes counted so far by the running scan.
struct Progress {
    std::int64_t files = 0;
    std::uint64_t bytes = 0;
    friend bool operator==(const Progress&, const Progress&) = default;
};

using Message = std::variant<VersionRequest, ScanRequest, CancelRequest, VersionReply, ScanReply,
                             Batch, Progress>;

} // namespace helperkit
