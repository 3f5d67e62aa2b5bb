#pragma once

#include "HelperKit/FrameChannel.hpp"
#include "HelperKit/HelperError.hpp"

#include <chrono>
#include <condition_variable>
#include <cstdint>
#include <expected>
#include <functional>
#include <map>
#include <memory>
#include <mutex>
#include <optional>
#include <string>
#include <sys/types.h>
#include <thread>
#include <vector>

namespace helperkit {

/// The application's end of one connection to the helper: sends requests, waits for their
/// replies and gathers the batches of a scan. Lives for one handshake or one scan.
class HelperClient {
public:
    using ProgressCallback = std::function<void(std::int64_t files, std::uint64_t bytes)>;
    static constexpr std::chrono::seconds defaultBatchTimeout{30};

    /// Talks over `fromHelper` and `toHelper`, which it owns and closes; reaps `process`
    /// (-1 for none) when invalidated.
    HelperClient(int fromHelper, int toHelper, pid_t process = -1);
    /// Starts `command` (the helper, or pkexec and the helper) with its standard input and
    /// output on pipes to this client; the connection error says why it could not start.
    static std::expected<std::unique_ptr<HelperClient>, HelperError>
    start(const std::vector<std::string>& command);
    ~HelperClient();
    HelperClient(const HelperClient&) = delete;
    HelperClient& operator=(const HelperClient&) = delete;

    /// The helper's version string.
    std::expected<std::string, HelperError> version();

    /// Scans `path` in the helper, leaving out `excludedPaths`, and returns the joined
    /// snapshot bytes. `progress` runs on the connection's reading thread.
    std::expected<std::vector<std::uint8_t>, HelperError>
    scan(const std::string& path, ProgressCallback progress = {},
         std::vector<std::string> excludedPaths = {});

    /// Asks the helper to stop the running scan; no reply is awaited.
    void cancel();

    /// Gives the connection up at once, from any thread: the calls waiting return with a
    /// connection error and the helper is told to end (a signal, which reaches pkexec while it
    /// waits for the password; a helper already running as root ends when `invalidate` closes
    /// its input).
    void abort();

    /// Closes the connection (the helper ends when its input closes) and waits for the helper
    /// process; its exit status (128 + the signal), or -1 without a process or when invalidated
    /// before. Any thread but the connection's.
    int invalidate();

    /// The client protocol, called as the helper's messages arrive.
    void receive(std::vector<std::uint8_t> batch, std::uint64_t offset);
    void progress(std::int64_t files, std::uint64_t bytes);

    /// False once the helper has closed its end (it ended) or sent a bad frame.
    bool isConnected() const;

    /// Blocks received in the running or last scan, and the count its reply announced.
    std::size_t received() const;
    std::optional<std::uint64_t> expected() const;

    /// How long to wait for the rest of the blocks after the reply (30 s by default).
    void setBatchTimeout(std::chrono::milliseconds timeout) { batchTimeout_ = timeout; }

private:
    /// Sends a request numbered with a fresh call id and waits for the reply with that id.
    std::expected<Message, HelperError> call(Message request);
    std::expected<void, HelperError> waitForBatches(std::uint64_t total);
    std::expected<std::vector<std::uint8_t>, HelperError> joinedBatches();
    /// Waits for the helper process to end; its status as `invalidate` gives it.
    int reap();
    void readLoop();
    void dispatch(Message message);

    int fromHelper_;
    int toHelper_;
    int stopPipe_[2] = {-1, -1};
    FrameChannel channel_;
    std::chrono::milliseconds batchTimeout_ = defaultBatchTimeout;

    mutable std::mutex lock_; ///< guards everything below
    pid_t process_;           ///< until reaped, so that `abort` never signals a stranger
    std::condition_variable changed_;
    CallID nextCall_ = 1;
    std::map<CallID, Message> replies_;
    std::optional<std::string> disconnected_; ///< why the connection ended
    std::map<std::uint64_t, std::vector<std::uint8_t>> batches_;
    std::size_t received_ = 0;
    std::optional<std::uint64_t> expected_;
    ProgressCallback onProgress_;
    bool invalidated_ = false;

    std::thread reader_; ///< started last, once every field above is ready
};

} // namespace helperkit
