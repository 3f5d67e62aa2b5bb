// A helper that misbehaves on request, for the client's tests: it answers version requests
// with the version given, and serves a scan in small blocks, optionally in reverse order,
// sending only some of them or announcing another count. It keeps its end open until the
// client closes, as a helper that hangs would.
#include "HelperKit/FrameChannel.hpp"

#include "BrantleCore/DiskScanner.hpp"
#include "BrantleCore/Snapshot.hpp"

#include <algorithm>
#include <cstdlib>
#include <optional>
#include <string>
#include <string_view>

using namespace helperkit;

namespace {

struct Script {
    std::string version = "1/old";
    std::size_t batchSize = 64;
    std::optional<std::uint64_t> announce; ///< the count in the reply; the blocks sent if absent
    std::optional<std::size_t> send;       ///< how many blocks to send; all if absent
    bool reverse = false;
};

std::vector<Batch> blocksOf(const std::string& path, std::size_t batchSize) {
    brantle::DiskScanner scanner(brantle::ScanOptions::forVolume(path), 1);
    const brantle::FileTree tree = scanner.scan(path);
    const auto blob = brantle::Snapshot::encode(tree, {tree.rootPath(), 0, 0});
    std::vector<Batch> blocks;
    for (std::size_t offset = 0; offset < blob.size(); offset += batchSize) {
        const auto end =
            blob.begin() + static_cast<std::ptrdiff_t>(std::min(blob.size(), offset + batchSize));
        blocks.push_back({offset, {blob.begin() + static_cast<std::ptrdiff_t>(offset), end}});
    }
    return blocks;
}

void serveScan(FrameChannel& channel, const Script& script, const ScanRequest& request) {
    auto blocks = blocksOf(request.path, script.batchSize);
    if (script.reverse) std::ranges::reverse(blocks);
    const std::size_t sent = std::min(blocks.size(), script.send.value_or(blocks.size()));
    for (std::size_t i = 0; i < sent; ++i)
        channel.send(blocks[i]);
    channel.send(ScanReply{request.call, script.announce.value_or(blocks.size()), std::nullopt});
}

} // namespace

int main(int argc, char** argv) {
    Script script;
    for (int i = 1; i + 1 < argc; i += 2) {
        const std::string_view option = argv[i];
        const char* value = argv[i + 1];
        if (option == "--version") script.version = value;
        if (option == "--batch-size") script.batchSize = std::strtoull(value, nullptr, 10);
        if (option == "--announce") script.announce = std::strtoull(value, nullptr, 10);
        if (option == "--send") script.send = std::strtoull(value, nullptr, 10);
        if (option == "--reverse") script.reverse = std::string_view(value) == "yes";
    }
    FrameChannel channel(0, 1);
    while (auto message = channel.receive()) {
        if (const auto* version = std::get_if<VersionRequest>(&*message))
            channel.send(VersionReply{version->call, script.version});
        if (const auto* scan = std::get_if<ScanRequest>(&*message))
            serveScan(channel, script, *scan);
    }
    return 0;
}
