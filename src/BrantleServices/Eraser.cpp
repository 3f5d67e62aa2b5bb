#include "BrantleServices/Eraser.hpp"

#include "BrantleCore/PathText.hpp"
#include "BrantleServices/Locations.hpp"
#include "BrantleServices/RecursiveRemoval.hpp"

#include <QUuid>

#include <cerrno>
#include <cstdio>
#include <filesystem>
#include <sys/resource.h>
#include <sys/stat.h>
#include <system_error>

namespace brantle {

std::string FileError::description() const {
    return std::generic_category().message(code);
}

Eraser::Eraser(std::string staging)
    : staging_(std::move(staging)), worker_([this](std::stop_token stop) { work(stop); }) {}

Eraser::~Eraser() {
    worker_.request_stop();
    worker_.join();
}

Eraser& Eraser::standard() {
    // Never destroyed: a quit must not wait for a long deletion, which resumes at next start.
    static Eraser* const eraser =
        new Eraser(PathText::joined(Locations::cacheDirectory(), "Erasing"));
    return *eraser;
}

std::expected<std::vector<EraseOutcome>, FileError>
Eraser::erase(std::span<const GuardedRemoval> removals) {
    std::error_code error;
    std::filesystem::create_directories(staging_, error);
    if (error) return std::unexpected(FileError{error.value(), staging_});
    struct stat staging {};
    const bool stagingKnown = ::lstat(staging_.c_str(), &staging) == 0;

    std::vector<EraseOutcome> outcomes;
    std::vector<std::string> queued;
    for (const auto& removal : removals) {
        const auto& path = removal.path();
        struct stat item {};
        if (::lstat(path.c_str(), &item) != 0) {
            outcomes.push_back({path, FileError{errno, path}});
            continue;
        }
        const auto staged = PathText::joined(
            staging_, QUuid::createUuid().toString(QUuid::WithoutBraces).toStdString() + "-" +
                          std::string(PathText::lastComponent(path)));
        const bool moved = stagingKnown && item.st_dev == staging.st_dev &&
                           std::rename(path.c_str(), staged.c_str()) == 0;
        queued.push_back(moved ? staged : path);
        outcomes.push_back({path, std::nullopt});
    }
    schedule(std::move(queued));
    return outcomes;
}

void Eraser::resumePending() {
    std::vector<std::string> leftovers;
    std::error_code error;
    for (const auto& entry : std::filesystem::directory_iterator(staging_, error))
        leftovers.push_back(entry.path().string());
    schedule(std::move(leftovers));
}

void Eraser::waitUntilIdle() {
    std::unique_lock lock(mutex_);
    idle_.wait(lock, [this] { return pending_ == 0; });
}

void Eraser::schedule(std::vector<std::string> paths) {
    if (paths.empty()) return;
    {
        std::lock_guard lock(mutex_);
        pending_ += paths.size();
        for (auto& path : paths)
            queue_.push_back(std::move(path));
    }
    wake_.notify_one();
}

void Eraser::work(std::stop_token stop) {
    // Background work at low priority; on Linux the nice value is per thread.
    ::setpriority(PRIO_PROCESS, static_cast<id_t>(::gettid()), 10);
    while (true) {
        std::string path;
        {
            std::unique_lock lock(mutex_);
            if (!wake_.wait(lock, stop, [this] { return !queue_.empty(); })) return;
            path = std::move(queue_.front());
            queue_.pop_front();
        }
        remove(path);
        {
            std::lock_guard lock(mutex_);
            --pending_;
        }
        idle_.notify_all();
    }
}

} // namespace brantle
