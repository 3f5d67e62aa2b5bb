#include "AmbrelModel/OrderedStart.hpp"

#include <mutex>

namespace ambrel {

namespace {

std::mutex handOver;

} // namespace

void startOrdered(QThreadPool& pool, std::function<void()> work) {
    const std::lock_guard starting(handOver);
    pool.start([work = std::move(work)] {
        { const std::lock_guard started(handOver); }
        work();
    });
}

} // namespace ambrel
