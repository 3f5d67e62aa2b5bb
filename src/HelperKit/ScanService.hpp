#pragma once

#include "HelperKit/FrameChannel.hpp"
#include "HelperKit/HelperMessage.hpp"

#include "BrantleCore/DiskScanner.hpp"

#include <cstddef>
#include <memory>
#include <mutex>
#include <string>
#include <thread>

namespace helperkit {

class IdleExit;

/// The helper's side of one connection: answers version requests, runs one scan at a time on
/// a thread of its own and streams the finished tree back as snapshot bytes in batches.
class ScanService {
public:
    /// `batchSize` is between 1 and maxBatchSize; `idle` may be null.
    ScanService(FrameChannel& channel, std::string build, std::size_t batchSize, IdleExit* idle);
    /// Cancels a running scan and waits for it.
    ~ScanService();
    ScanService(const ScanService&) = delete;
    ScanService& operator=(const ScanService&) = delete;

    /// Serves requests until the other end closes the connection or sends a bad frame.
    void serve();

    void version(const VersionRequest& request);
    void scan(const ScanRequest& request);
    void cancel();

private:
    void handle(const Message& message);
    void runScan(CallID call, const std::string& path,
                 std::shared_ptr<brantle::DiskScanner> scanner);
    /// Sends the blob in blocks of the batch size; the number sent, or no value when the
    /// connection broke.
    std::optional<std::uint64_t> sendBatches(const std::vector<std::uint8_t>& blob);
    void refuse(CallID call, std::string message);

    FrameChannel& channel_;
    std::string build_;
    std::size_t batchSize_;
    IdleExit* idle_;
    std::mutex lock_; ///< guards scanner_ and cancelled_
    std::shared_ptr<brantle::DiskScanner> scanner_;
    bool cancelled_ = false;
    std::jthread worker_;
};

} // namespace helperkit
