#include "BrantleServices/Eraser.hpp"

#include "BrantleCore/PathText.hpp"
#include "BrantleServices/AnchoredItem.hpp"
#include "BrantleServices/Locations.hpp"

#include <QUuid>

#include <cerrno>
#include <cstdio>
#include <dirent.h>
#include <fcntl.h>
#include <filesystem>
#include <sys/resource.h>
#include <sys/stat.h>
#include <system_error>

namespace brantle {

std::string FileError::description() const {
    return reason.empty() ? std::generic_category().message(code) : reason;
}

namespace {

std::shared_ptr<const Descriptor> openedFolder(const std::string& path) {
    return std::make_shared<const Descriptor>(
        ::open(path.c_str(), O_RDONLY | O_DIRECTORY | O_CLOEXEC));
}

std::string stagedName(std::string_view name) {
    return QUuid::createUuid().toString(QUuid::WithoutBraces).toStdString() + "-" +
           std::string(name);
}

} // namespace

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
    // The staging folder is ours, so it may be reached through links (a linked cache folder).
    const auto staging = openedFolder(staging_);
    struct stat stagingStatus {};
    const bool stagingKnown = *staging && ::fstat(staging->get(), &stagingStatus) == 0;

    std::vector<EraseOutcome> outcomes;
    std::vector<Pending> queued;
    for (const auto& removal : removals) {
        const auto& path = removal.path();
        auto item = AnchoredItem::open(path);
        if (!item) {
            outcomes.push_back({path, item.error()});
            continue;
        }
        const auto staged = stagedName(item->name);
        const bool moved = stagingKnown && item->status.st_dev == stagingStatus.st_dev &&
                           ::renameat2(item->folder->get(), item->name.c_str(), staging->get(),
                                       staged.c_str(), RENAME_NOREPLACE) == 0;
        queued.push_back(moved ? Pending{staging, staged} : Pending{item->folder, item->name});
        outcomes.push_back({path, std::nullopt});
    }
    schedule(std::move(queued));
    return outcomes;
}

void Eraser::resumePending() {
    const auto staging = openedFolder(staging_);
    if (!*staging) return;
    std::vector<Pending> leftovers;
    DIR* stream = ::fdopendir(::dup(staging->get()));
    if (!stream) return;
    while (const dirent* entry = ::readdir(stream)) {
        const std::string_view name = entry->d_name;
        if (name != "." && name != "..") leftovers.push_back({staging, std::string(name)});
    }
    ::closedir(stream);
    schedule(std::move(leftovers));
}

void Eraser::waitUntilIdle() {
    std::unique_lock lock(mutex_);
    idle_.wait(lock, [this] { return pending_ == 0; });
}

void Eraser::schedule(std::vector<Pending> entries) {
    if (entries.empty()) return;
    {
        std::lock_guard lock(mutex_);
        pending_ += entries.size();
        for (auto& entry : entries)
            queue_.push_back(std::move(entry));
    }
    wake_.notify_one();
}

void Eraser::work(std::stop_token stop) {
    // Background work at low priority; on Linux the nice value is per thread.
    ::setpriority(PRIO_PROCESS, static_cast<id_t>(::gettid()), 10);
    while (true) {
        Pending entry;
        {
            std::unique_lock lock(mutex_);
            if (!wake_.wait(lock, stop, [this] { return !queue_.empty(); })) return;
            entry = std::move(queue_.front());
            queue_.pop_front();
        }
        remove(entry);
        {
            std::lock_guard lock(mutex_);
            --pending_;
        }
        idle_.notify_all();
    }
}

} // namespace brantle
