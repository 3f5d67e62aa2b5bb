#include "BrantleServices/TrashLedger.hpp"

#include "BrantleCore/Fatal.hpp"
#include "BrantleCore/PathText.hpp"
#include "BrantleServices/Locations.hpp"

#include <QDir>
#include <QFile>
#include <QSaveFile>

#include <sys/stat.h>

namespace brantle {

namespace {

std::uint64_t sum(std::uint64_t a, std::uint64_t b, const char* what) {
    std::uint64_t total = 0;
    if (__builtin_add_overflow(a, b, &total)) fatal(what);
    return total;
}

bool somethingAt(const std::string& path) {
    struct stat status {};
    return ::lstat(path.c_str(), &status) == 0;
}

QString qtPath(const std::string& path) {
    return QFile::decodeName(QByteArray::fromStdString(path));
}

} // namespace

std::uint64_t TrashLedger::State::waitingBytes() const {
    std::uint64_t total = 0;
    for (const auto& entry : entries)
        total = sum(total, entry.bytes, "trash ledger: waiting bytes overflow");
    return total;
}

TrashLedger::TrashLedger(std::string path, ExistsPredicate exists)
    : path_(std::move(path)), exists_(exists ? std::move(exists) : somethingAt) {}

TrashLedger TrashLedger::standard() {
    return TrashLedger(PathText::joined(Locations::dataDirectory(), "trash-ledger.json"));
}

double TrashLedger::referenceSeconds(std::chrono::system_clock::time_point time) {
    constexpr double unixSecondsAt2001 = 978'307'200.0;
    return std::chrono::duration<double>(time.time_since_epoch()).count() - unixSecondsAt2001;
}

TrashLedger::State TrashLedger::load() const {
    QFile file(qtPath(path_));
    if (!file.open(QIODevice::ReadOnly)) return {};
    return decodedLedger(file.readAll().toStdString()).value_or(State{});
}

void TrashLedger::save(const State& state) const {
    QDir().mkpath(qtPath(std::string(PathText::parent(path_))));
    QSaveFile file(qtPath(path_));
    if (!file.open(QIODevice::WriteOnly)) return;
    const auto json = encodedLedger(state);
    if (file.write(json.data(), static_cast<qint64>(json.size())) ==
        static_cast<qint64>(json.size()))
        file.commit();
}

TrashLedger::State TrashLedger::record(std::span<const Entry> entries) const {
    auto state = load();
    state.entries.insert(state.entries.end(), entries.begin(), entries.end());
    save(state);
    return state;
}

TrashLedger::State TrashLedger::addFreed(std::uint64_t bytes,
                                         const std::set<std::string>& settlingTrashed) const {
    auto state = load();
    std::erase_if(state.entries,
                  [&](const Entry& entry) { return settlingTrashed.contains(entry.trashed); });
    state.freedBytes = sum(state.freedBytes, bytes, "trash ledger: freed bytes overflow");
    save(state);
    return state;
}

TrashLedger::State TrashLedger::refresh(bool trashReadable) const {
    auto state = load();
    if (!trashReadable) return state;
    State next{{}, state.freedBytes};
    for (const auto& entry : state.entries) {
        if (exists_(entry.trashed)) {
            next.entries.push_back(entry);
        } else if (!exists_(entry.original)) {
            next.freedBytes =
                sum(next.freedBytes, entry.bytes, "trash ledger: freed bytes overflow");
        }
    }
    if (next != state) save(next);
    return next;
}

} // namespace brantle
