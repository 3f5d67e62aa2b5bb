#pragma once

#include <chrono>
#include <cstdint>
#include <functional>
#include <optional>
#include <set>
#include <span>
#include <string>
#include <vector>

namespace brantle {

/// Remembers what the application put in the Trash and how much space left the disk for good
/// through it. Read afresh from its JSON file on every call and written back after every
/// change; not locked, so callers keep it on one thread.
class TrashLedger {
public:
    /// One item the application moved to the Trash.
    struct Entry {
        std::string trashed;  ///< the path inside the Trash
        std::string original; ///< the path before the move
        std::uint64_t bytes;  ///< allocated size as scanned
        double date;          ///< seconds since 2001-01-01 00:00:00 UTC

        bool operator==(const Entry&) const = default;
    };

    struct State {
        std::vector<Entry> entries;
        std::uint64_t freedBytes = 0;

        /// The bytes still waiting in the Trash (sum over entries); overflow is fatal.
        std::uint64_t waitingBytes() const;
        bool operator==(const State&) const = default;
    };

    /// Says whether something exists at a path; safe to call from any thread.
    using ExistsPredicate = std::function<bool(const std::string& path)>;

    /// A ledger stored at `path`; `exists` defaults to a test that does not follow links.
    explicit TrashLedger(std::string path, ExistsPredicate exists = {});

    /// The ledger at "trash-ledger.json" in the data folder.
    static TrashLedger standard();

    /// Seconds since 2001-01-01 00:00:00 UTC, the ledger's dates.
    static double referenceSeconds(std::chrono::system_clock::time_point time);

    const std::string& path() const { return path_; }

    /// The stored state; a missing or undecodable file reads as empty.
    State load() const;
    /// Writes the state atomically, creating folders; failures are ignored.
    void save(const State& state) const;
    /// Appends entries and saves.
    State record(std::span<const Entry> entries) const;
    /// Drops the settled Trash paths, adds bytes to `freedBytes`, saves.
    State addFreed(std::uint64_t bytes, const std::set<std::string>& settlingTrashed) const;
    /// Reconciles the entries with the Trash: still there is kept, put back is dropped, gone
    /// for good is dropped and counted as freed. Unreadable Trash: the state as stored.
    State refresh(bool trashReadable) const;

private:
    std::string path_;
    ExistsPredicate exists_;
};

/// The state as the ledger's JSON document; no value when the bytes are not one.
std::optional<TrashLedger::State> decodedLedger(const std::string& json);
/// The ledger's compact JSON document.
std::string encodedLedger(const TrashLedger::State& state);

} // namespace brantle
