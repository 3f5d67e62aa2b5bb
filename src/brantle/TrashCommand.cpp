// brantle trash: Move to Trash for scripts, with its ledger entries; --ledger prints the ledger.
#include "Command.hpp"
#include "RemovalRun.hpp"

#include "BrantleServices/Locations.hpp"
#include "BrantleServices/Recycler.hpp"
#include "BrantleServices/TrashLedger.hpp"

#include <QJsonArray>
#include <QJsonDocument>
#include <QJsonObject>

#include <cerrno>
#include <chrono>
#include <cstdio>
#include <unistd.h>

namespace brantle::cli {

namespace {

int run(Arguments args);

} // namespace

const Command trashCommand{"trash", "trash PATH... [--json] | trash --ledger [--json]", run};

namespace {

int moveToTrash(const RemovalRequest& request) {
    RemovalRun removal(request, false);
    const auto outcomes = Recycler::recycle(removal.allowed());
    std::vector<TrashLedger::Entry> entries;
    const double now = TrashLedger::referenceSeconds(std::chrono::system_clock::now());
    for (std::size_t i = 0; i < outcomes.size(); ++i) {
        const auto& outcome = outcomes[i];
        if (!outcome.trashed) {
            removal.failed(i, outcome.error.value_or("The item could not be moved"));
            continue;
        }
        removal.removed(i);
        entries.push_back({*outcome.trashed, outcome.original, removal.bytes(i), now});
    }
    if (!entries.empty()) TrashLedger::standard().record(entries);
    return removal.report(request.json);
}

bool trashReadable() {
    const auto trash = Locations::trashDirectory();
    return ::access(trash.c_str(), R_OK | X_OK) == 0 || errno == ENOENT;
}

int printLedger(bool json) {
    const auto state = TrashLedger::standard().refresh(trashReadable());
    if (json) {
        QJsonArray entries;
        for (const auto& entry : state.entries)
            entries.append(QJsonObject{{"trashed", QString::fromStdString(entry.trashed)},
                                       {"original", QString::fromStdString(entry.original)},
                                       {"bytes", static_cast<qint64>(entry.bytes)},
                                       {"date", entry.date}});
        const QJsonObject out{{"entries", entries},
                              {"waitingBytes", static_cast<qint64>(state.waitingBytes())},
                              {"freedBytes", static_cast<qint64>(state.freedBytes)}};
        const QByteArray text = QJsonDocument(out).toJson(QJsonDocument::Indented);
        std::fwrite(text.constData(), 1, static_cast<std::size_t>(text.size()), stdout);
        return exitOk;
    }
    for (const auto& entry : state.entries)
        std::printf("waiting: %s (from %s, %llu bytes)\n", entry.trashed.c_str(),
                    entry.original.c_str(), static_cast<unsigned long long>(entry.bytes));
    std::printf("waiting bytes: %llu\nfreed bytes: %llu\n",
                static_cast<unsigned long long>(state.waitingBytes()),
                static_cast<unsigned long long>(state.freedBytes));
    return exitOk;
}

int run(Arguments args) {
    const auto request = parsedRemoval(args, true);
    if (!request) return usageError(trashCommand);
    return request->ledger ? printLedger(request->json) : moveToTrash(*request);
}

} // namespace

} // namespace brantle::cli
