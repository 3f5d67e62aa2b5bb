#include "HelperKit/ScanService.hpp"

#include "HelperKit/HelperIdentity.hpp"
#include "HelperKit/IdleExit.hpp"

#include "BrantleCore/ChangeHistory.hpp"
#include "BrantleCore/ScanOptions.hpp"
#include "BrantleCore/Snapshot.hpp"

#include <algorithm>
#include <sys/stat.h>
#include <unistd.h>

namespace helperkit {

namespace {

bool isFolder(const std::string& path) {
    struct stat info {};
    return path.starts_with('/') && ::stat(path.c_str(), &info) == 0 && S_ISDIR(info.st_mode);
}

int activeProcessors() {
    const long count = ::sysconf(_SC_NPROCESSORS_ONLN);
    return count < 1 ? 1 : static_cast<int>(count);
}

double secondsSince1970() {
    return std::chrono::duration<double>(std::chrono::system_clock::now().time_since_epoch())
        .count();
}

} // namespace

ScanService::ScanService(FrameChannel& channel, std::string build, std::size_t batchSize,
                         IdleExit* idle)
    : channel_(channel), build_(std::move(build)), batchSize_(batchSize), idle_(idle) {}

ScanService::~ScanService() {
    cancel();
    if (worker_.joinable()) worker_.join();
}

void ScanService::serve() {
    while (auto message = channel_.receive())
        handle(*message);
}

void ScanService::handle(const Message& message) {
    if (const auto* request = std::get_if<VersionRequest>(&message)) {
        version(*request);
    } else if (const auto* scanRequest = std::get_if<ScanRequest>(&message)) {
        scan(*scanRequest);
    } else if (std::holds_alternative<CancelRequest>(message)) {
        cancel();
    }
    // Messages of the client protocol have no meaning here and are ignored.
}

void ScanService::version(const VersionRequest& request) {
    if (idle_) idle_->touch();
    channel_.send(VersionReply{request.call, HelperIdentity::versionString(build_)});
}

void ScanService::refuse(CallID call, std::string message) {
    channel_.send(ScanReply{call, 0, std::move(message)});
}

void ScanService::scan(const ScanRequest& request) {
    if (idle_) idle_->touch();
    if (!isFolder(request.path)) return refuse(request.call, "Not a folder: " + request.path);
    auto options = brantle::ScanOptions::forVolume(request.path);
    options.excludedPaths.insert(request.excludedPaths.begin(), request.excludedPaths.end());
    auto scanner = std::make_shared<brantle::DiskScanner>(std::move(options), activeProcessors(),
                                                          std::chrono::milliseconds(100));
    {
        const std::lock_guard lock(lock_);
        if (scanner_) return refuse(request.call, "A scan is already running.");
        scanner_ = scanner;
        cancelled_ = false;
    }
    if (idle_) idle_->scanStarted();
    // The previous scan thread has dropped its scanner, so it is at its end: joining is quick.
    if (worker_.joinable()) worker_.join();
    worker_ = std::jthread([this, call = request.call, path = request.path, scanner] {
        runScan(call, path, scanner);
    });
}

void ScanService::cancel() {
    const std::lock_guard lock(lock_);
    cancelled_ = true;
    if (scanner_) scanner_->cancel();
}

void ScanService::runScan(CallID call, const std::string& path,
                          std::shared_ptr<brantle::DiskScanner> scanner) {
    // Read before scanning, so that changes made while the scan runs are caught up later.
    const auto eventID = brantle::ChangeHistory::currentEventID();
    const brantle::FileTree tree = scanner->scan(path, 0, [&](const brantle::ScanProgress& p) {
        if (!channel_.send(Progress{p.files, p.bytes})) scanner->cancel();
    });
    bool cancelled = false;
    {
        const std::lock_guard lock(lock_);
        cancelled = cancelled_ || scanner->isCancelled();
    }
    ScanReply reply{call, 0, std::nullopt};
    if (cancelled) {
        reply.error = "Cancelled";
    } else {
        const brantle::SnapshotMeta meta{tree.rootPath(), secondsSince1970(), eventID};
        if (const auto sent = sendBatches(brantle::Snapshot::encode(tree, meta))) {
            reply.batches = *sent;
        }
    }
    // Dropped before replying, so that a client may ask for its next scan as soon as it has
    // this reply.
    {
        const std::lock_guard lock(lock_);
        scanner_.reset();
    }
    if (idle_) idle_->scanEnded();
    channel_.send(reply);
}

std::optional<std::uint64_t> ScanService::sendBatches(const std::vector<std::uint8_t>& blob) {
    std::uint64_t sent = 0;
    for (std::size_t offset = 0; offset < blob.size(); offset += batchSize_) {
        const std::size_t end = std::min(blob.size(), offset + batchSize_);
        Batch batch{offset,
                    std::vector<std::uint8_t>(blob.begin() + static_cast<std::ptrdiff_t>(offset),
                                              blob.begin() + static_cast<std::ptrdiff_t>(end))};
        if (!channel_.send(batch)) return std::nullopt;
        ++sent;
    }
    return sent;
}

} // namespace helperkit
