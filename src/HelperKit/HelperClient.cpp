#include "HelperKit/HelperClient.hpp"

#include <algorithm>
#include <cerrno>
#include <csignal>
#include <cstring>
#include <fcntl.h>
#include <spawn.h>
#include <sys/wait.h>
#include <unistd.h>

extern char** environ;

namespace helperkit {

namespace {

CallID& callOf(Message& message) {
    if (auto* version = std::get_if<VersionRequest>(&message)) return version->call;
    return std::get<ScanRequest>(message).call;
}

std::optional<CallID> replyCall(const Message& message) {
    if (const auto* version = std::get_if<VersionReply>(&message)) return version->call;
    if (const auto* scan = std::get_if<ScanReply>(&message)) return scan->call;
    return std::nullopt;
}

void closeIfOpen(int& fd) {
    if (fd >= 0) ::close(fd);
    fd = -1;
}

} // namespace

HelperClient::HelperClient(int fromHelper, int toHelper, pid_t process)
    : fromHelper_(fromHelper), toHelper_(toHelper), channel_(fromHelper, toHelper),
      process_(process) {
    if (::pipe2(stopPipe_, O_CLOEXEC) != 0) stopPipe_[0] = stopPipe_[1] = -1;
    reader_ = std::thread([this] { readLoop(); });
}

std::expected<std::unique_ptr<HelperClient>, HelperError>
HelperClient::start(const std::vector<std::string>& command) {
    if (command.empty()) return std::unexpected(HelperError::connection("no helper to start"));
    // A helper that went away must fail a write, not end the application.
    std::signal(SIGPIPE, SIG_IGN);
    int toHelper[2];
    int fromHelper[2];
    if (::pipe2(toHelper, O_CLOEXEC) != 0)
        return std::unexpected(HelperError::connection(std::strerror(errno)));
    if (::pipe2(fromHelper, O_CLOEXEC) != 0) {
        const int error = errno;
        ::close(toHelper[0]);
        ::close(toHelper[1]);
        return std::unexpected(HelperError::connection(std::strerror(error)));
    }
    posix_spawn_file_actions_t actions;
    posix_spawn_file_actions_init(&actions);
    posix_spawn_file_actions_adddup2(&actions, toHelper[0], STDIN_FILENO);
    posix_spawn_file_actions_adddup2(&actions, fromHelper[1], STDOUT_FILENO);
    std::vector<char*> argv;
    argv.reserve(command.size() + 1);
    for (const std::string& word : command)
        argv.push_back(const_cast<char*>(word.c_str()));
    argv.push_back(nullptr);
    pid_t pid = -1;
    const int spawned = ::posix_spawnp(&pid, argv[0], &actions, nullptr, argv.data(), environ);
    posix_spawn_file_actions_destroy(&actions);
    ::close(toHelper[0]);
    ::close(fromHelper[1]);
    if (spawned != 0) {
        ::close(toHelper[1]);
        ::close(fromHelper[0]);
        return std::unexpected(
            HelperError::connection("cannot start " + command[0] + ": " + std::strerror(spawned)));
    }
    return std::make_unique<HelperClient>(fromHelper[0], toHelper[1], pid);
}

HelperClient::~HelperClient() {
    invalidate();
}

int HelperClient::invalidate() {
    {
        const std::lock_guard lock(lock_);
        if (invalidated_) return -1;
        invalidated_ = true;
    }
    closeIfOpen(toHelper_);
    if (stopPipe_[1] >= 0) (void)!::write(stopPipe_[1], "x", 1);
    if (reader_.joinable()) reader_.join();
    closeIfOpen(fromHelper_);
    closeIfOpen(stopPipe_[0]);
    closeIfOpen(stopPipe_[1]);
    return reap();
}

int HelperClient::reap() {
    pid_t process = -1;
    {
        const std::lock_guard lock(lock_);
        process = process_;
    }
    if (process < 0) return -1;
    // Waits without reaping, so that the id stays the helper's while `abort` may signal it.
    siginfo_t info{};
    while (::waitid(P_PID, static_cast<id_t>(process), &info, WEXITED | WNOWAIT) < 0) {
        if (errno != EINTR) return -1;
    }
    const std::lock_guard lock(lock_);
    int status = 0;
    if (::waitpid(process, &status, 0) < 0) return -1;
    process_ = -1;
    return WIFEXITED(status) ? WEXITSTATUS(status) : 128 + WTERMSIG(status);
}

std::expected<Message, HelperError> HelperClient::call(Message request) {
    std::unique_lock lock(lock_);
    const CallID id = nextCall_++;
    callOf(request) = id;
    lock.unlock();
    if (!channel_.send(request))
        return std::unexpected(HelperError::connection("the connection was closed"));
    lock.lock();
    changed_.wait(lock, [&] { return replies_.contains(id) || disconnected_; });
    if (const auto found = replies_.find(id); found != replies_.end()) {
        Message reply = std::move(found->second);
        replies_.erase(found);
        return reply;
    }
    return std::unexpected(HelperError::connection(disconnected_.value_or("")));
}

std::expected<std::string, HelperError> HelperClient::version() {
    auto reply = call(VersionRequest{});
    if (!reply) return std::unexpected(reply.error());
    if (auto* answer = std::get_if<VersionReply>(&*reply)) return std::move(answer->version);
    return std::unexpected(HelperError::connection("unexpected reply"));
}

std::expected<std::vector<std::uint8_t>, HelperError>
HelperClient::scan(const std::string& path, ProgressCallback progress,
                   std::vector<std::string> excludedPaths) {
    {
        const std::lock_guard lock(lock_);
        batches_.clear();
        received_ = 0;
        expected_.reset();
        onProgress_ = std::move(progress);
    }
    auto reply = call(ScanRequest{0, path, std::move(excludedPaths)});
    if (!reply) return std::unexpected(reply.error());
    const auto* answer = std::get_if<ScanReply>(&*reply);
    if (!answer) return std::unexpected(HelperError::connection("unexpected reply"));
    if (answer->error) return std::unexpected(HelperError::helper(*answer->error));
    if (auto waited = waitForBatches(answer->batches); !waited)
        return std::unexpected(waited.error());
    return joinedBatches();
}

std::expected<void, HelperError> HelperClient::waitForBatches(std::uint64_t total) {
    std::unique_lock lock(lock_);
    expected_ = total;
    // Once the connection has ended no further block can come: no point waiting it out.
    const bool whole =
        changed_.wait_for(lock, batchTimeout_, [&] { return received_ >= total || disconnected_; });
    if (!whole || received_ < total) return std::unexpected(HelperError::incomplete());
    return {};
}

std::expected<std::vector<std::uint8_t>, HelperError> HelperClient::joinedBatches() {
    const std::lock_guard lock(lock_);
    std::vector<std::uint8_t> blob;
    for (const auto& [offset, block] : batches_) {
        // A gap or an overlap (a block sent twice) leaves the blob unusable.
        if (offset != blob.size()) return std::unexpected(HelperError::incomplete());
        blob.insert(blob.end(), block.begin(), block.end());
    }
    return blob;
}

void HelperClient::cancel() {
    channel_.send(CancelRequest{});
}

void HelperClient::abort() {
    const std::lock_guard lock(lock_);
    // As the user, this may signal pkexec but not the root helper it became: that one ends
    // when its input closes.
    if (process_ >= 0) ::kill(process_, SIGTERM);
    if (!disconnected_) disconnected_ = "the connection was given up";
    changed_.notify_all();
}

void HelperClient::receive(std::vector<std::uint8_t> batch, std::uint64_t offset) {
    const std::lock_guard lock(lock_);
    batches_[offset] = std::move(batch);
    ++received_;
    if (expected_ && received_ >= *expected_) changed_.notify_all();
}

void HelperClient::progress(std::int64_t files, std::uint64_t bytes) {
    ProgressCallback callback;
    {
        const std::lock_guard lock(lock_);
        callback = onProgress_;
    }
    if (callback) callback(files, bytes);
}

bool HelperClient::isConnected() const {
    const std::lock_guard lock(lock_);
    return !disconnected_;
}

std::size_t HelperClient::received() const {
    const std::lock_guard lock(lock_);
    return received_;
}

std::optional<std::uint64_t> HelperClient::expected() const {
    const std::lock_guard lock(lock_);
    return expected_;
}

void HelperClient::readLoop() {
    for (;;) {
        auto message = channel_.receive(stopPipe_[0]);
        if (!message) {
            const std::lock_guard lock(lock_);
            if (!disconnected_) disconnected_ = message.error();
            changed_.notify_all();
            return;
        }
        dispatch(std::move(*message));
    }
}

void HelperClient::dispatch(Message message) {
    if (auto* batch = std::get_if<Batch>(&message)) {
        receive(std::move(batch->bytes), batch->offset);
    } else if (const auto* report = std::get_if<Progress>(&message)) {
        progress(report->files, report->bytes);
    } else if (const auto call = replyCall(message)) {
        const std::lock_guard lock(lock_);
        replies_.insert_or_assign(*call, std::move(message));
        changed_.notify_all();
    }
}

} // namespace helperkit
