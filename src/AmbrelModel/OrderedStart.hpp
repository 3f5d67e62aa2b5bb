#pragma once

#include <QThreadPool>

#include <functional>

namespace ambrel {

/// Starts `work` on `pool`, ordered after everything the calling thread did before, in a way
/// ThreadSanitizer can see: the pool's own hand-over is guarded by QtCore's futex lock, which
/// it cannot. Costs one uncontended lock on each side.
void startOrdered(QThreadPool& pool, std::function<void()> work);

} // namespace ambrel
