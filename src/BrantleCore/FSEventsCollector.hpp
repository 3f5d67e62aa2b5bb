#pragma once

#include "BrantleCore/ChangeSet.hpp"

#include <chrono>
#include <condition_variable>
#include <cstdint>
#include <mutex>
#include <set>
#include <string>
#include <string_view>

namespace brantle {

/// The decisions of the macOS event-history replay, apart from the stream calls: the stream's
/// callback feeds every event in, the waiting caller asks for the verdict. Thread-safe.
class FSEventsCollector {
public:
    static constexpr std::uint32_t mustScanSubDirs = 0x01;
    static constexpr std::uint32_t userDropped = 0x02;
    static constexpr std::uint32_t kernelDropped = 0x04;
    static constexpr std::uint32_t eventIdsWrapped = 0x08;
    static constexpr std::uint32_t historyDone = 0x10;
    static constexpr std::uint32_t rootChanged = 0x20;
    /// Any of these means the history cannot be trusted folder by folder.
    static constexpr std::uint32_t needsFullMask =
        mustScanSubDirs | userDropped | kernelDropped | eventIdsWrapped | rootChanged;

    /// Takes one event: the history-done marker wakes the waiter; every other event adds its
    /// folder (one trailing "/" trimmed), and any flag of `needsFullMask` asks for a rescan.
    void receive(std::string_view path, std::uint32_t flags);

    /// Waits until the history-done marker arrives or the deadline passes; true when done.
    bool waitUntilDone(std::chrono::steady_clock::time_point deadline);

    /// `fullRescanNeeded` when the wait timed out or any event asked for it, otherwise the
    /// folders gathered, sorted (empty when nothing changed).
    ChangeSet answer(bool timedOut) const;

private:
    mutable std::mutex lock_;
    std::condition_variable doneSignal_;
    std::set<std::string, std::less<>> dirs_;
    bool needsFull_ = false;
    bool done_ = false;
};

} // namespace brantle
