#include "BrantleCore/FSEventsCollector.hpp"

#include "BrantleCore/PathText.hpp"

#include <vector>

namespace brantle {

void FSEventsCollector::receive(std::string_view path, std::uint32_t flags) {
    {
        std::lock_guard guard(lock_);
        if (flags & historyDone) {
            done_ = true;
        } else {
            if (flags & needsFullMask) needsFull_ = true;
            dirs_.emplace(PathText::withoutTrailingSlash(path));
        }
    }
    if (flags & historyDone) doneSignal_.notify_all();
}

bool FSEventsCollector::waitUntilDone(std::chrono::steady_clock::time_point deadline) {
    std::unique_lock guard(lock_);
    return doneSignal_.wait_until(guard, deadline, [this] { return done_; });
}

ChangeSet FSEventsCollector::answer(bool timedOut) const {
    std::lock_guard guard(lock_);
    if (timedOut || needsFull_) return ChangeSet::fullRescan();
    return ChangeSet::of(std::vector<std::string>(dirs_.begin(), dirs_.end()));
}

} // namespace brantle
