#pragma once

#include "BrantleServices/Descriptor.hpp"
#include "BrantleServices/FileError.hpp"
#include "BrantleServices/GuardVerdict.hpp"

#include <condition_variable>
#include <cstddef>
#include <deque>
#include <expected>
#include <memory>
#include <mutex>
#include <optional>
#include <span>
#include <string>
#include <thread>
#include <vector>

namespace brantle {

/// What became of one removal handed to the eraser.
struct EraseOutcome {
    /// The item's path as given.
    std::string path;
    /// Why the item could not be taken; absent on success.
    std::optional<FileError> error;

    bool operator==(const EraseOutcome&) const = default;
};

/// Deletes items for good, at once for the user and safely across a crash: each item is
/// renamed into a private staging folder (atomic on one volume), reported, and deleted there
/// in the background on one serial, low-priority queue. Leftovers of an interrupted run are
/// deleted by `resumePending`.
class Eraser {
public:
    /// An eraser staging into the given folder (created when first needed).
    explicit Eraser(std::string staging);
    /// Stops after the deletion under way; what is still queued stays in the staging folder.
    ~Eraser();
    Eraser(const Eraser&) = delete;
    Eraser& operator=(const Eraser&) = delete;

    /// The eraser of the application, staging into "Erasing" in the cache folder; lives as
    /// long as the process.
    static Eraser& standard();

    const std::string& staging() const { return staging_; }

    /// Stages every item (or queues it where it stands when it is on another volume) and
    /// returns one outcome per item in order; deletion continues in the background. Each item
    /// is reached through its judged path without following links and then handled relative
    /// to its folder's descriptor only; an item reached through a link, or that is a mount
    /// point, fails with its reason. Fails as a whole, touching nothing, only when the staging
    /// folder cannot be created.
    std::expected<std::vector<EraseOutcome>, FileError>
    erase(std::span<const GuardedRemoval> removals);
    /// Queues deletion of everything left in the staging folder.
    void resumePending();
    /// Returns when every queued deletion has finished.
    void waitUntilIdle();

    /// Deletes a path with everything inside it, never following symbolic links nor leaving
    /// the item's mount; a folder's entries go in parallel. A path through a link is left
    /// alone. Errors are ignored.
    static void remove(const std::string& path);

    /// The entry `name` of an open folder, waiting to be deleted.
    struct Pending {
        std::shared_ptr<const Descriptor> folder;
        std::string name;
    };
    /// Deletes one entry as `remove` does.
    static void remove(const Pending& entry);

private:
    void schedule(std::vector<Pending> entries);
    void work(std::stop_token stop);

    std::string staging_;
    std::mutex mutex_;
    std::condition_variable_any wake_;
    std::condition_variable idle_;
    std::deque<Pending> queue_;
    std::size_t pending_ = 0; // queued or under way
    std::jthread worker_;
};

} // namespace brantle
