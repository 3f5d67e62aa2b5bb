// The event-history replay through an FSEvents stream; the decisions live in FSEventsCollector.
#ifdef __APPLE__

#include "BrantleCore/ChangeHistory.hpp"

#include "BrantleCore/FSEventsCollector.hpp"

#include <CoreServices/CoreServices.h>
#include <dispatch/dispatch.h>

namespace brantle::ChangeHistory {

namespace {

void receiveEvents(ConstFSEventStreamRef, void* info, size_t count, void* paths,
                   const FSEventStreamEventFlags flags[], const FSEventStreamEventId[]) {
    auto& collector = *static_cast<FSEventsCollector*>(info);
    const auto* const names = static_cast<const char* const*>(paths);
    for (size_t i = 0; i < count; ++i)
        collector.receive(names[i], flags[i]);
}

} // namespace

EventID currentEventID() {
    return FSEventsGetCurrentEventId();
}

ChangeSet changedDirectories(std::string_view under, EventID since,
                             std::chrono::duration<double> timeout, const FileTree&,
                             std::chrono::nanoseconds) {
    const auto deadline = std::chrono::steady_clock::now() +
                          std::chrono::duration_cast<std::chrono::steady_clock::duration>(timeout);
    FSEventsCollector collector;
    CFStringRef root =
        CFStringCreateWithBytes(nullptr, reinterpret_cast<const UInt8*>(under.data()),
                                static_cast<CFIndex>(under.size()), kCFStringEncodingUTF8, false);
    if (!root) return ChangeSet::fullRescan();
    const void* roots[] = {root};
    CFArrayRef paths = CFArrayCreate(nullptr, roots, 1, &kCFTypeArrayCallBacks);
    FSEventStreamContext context{0, &collector, nullptr, nullptr, nullptr};
    FSEventStreamRef stream = FSEventStreamCreate(nullptr, receiveEvents, &context, paths, since,
                                                  0.0, kFSEventStreamCreateFlagNone);
    CFRelease(paths);
    CFRelease(root);
    if (!stream) return ChangeSet::fullRescan();

    dispatch_queue_t queue =
        dispatch_queue_create("ambrel.fsevents-history", DISPATCH_QUEUE_SERIAL);
    FSEventStreamSetDispatchQueue(stream, queue);
    const bool started = FSEventStreamStart(stream);
    const bool done = started && collector.waitUntilDone(deadline);
    if (started) FSEventStreamStop(stream);
    FSEventStreamInvalidate(stream);
    FSEventStreamRelease(stream);
    dispatch_release(queue);
    return collector.answer(!done);
}

} // namespace brantle::ChangeHistory

#endif
