#include "BrantleServices/TrashLedger.hpp"

#include "support/TempFolder.hpp"

#include <QJsonArray>
#include <QJsonDocument>
#include <QJsonObject>
#include <gtest/gtest.h>

#include <limits>
#include <sys/stat.h>

using namespace brantle;
using Entry = TrashLedger::Entry;
using State = TrashLedger::State;

namespace {

ino_t inode(const std::string& path) {
    struct stat status {};
    return ::stat(path.c_str(), &status) == 0 ? status.st_ino : 0;
}

const Entry kept{"/t/files/kept", "/w/kept", 100, 10.5};
const Entry putBack{"/t/files/back", "/w/back", 20, 11};
const Entry emptied{"/t/files/gone", "/w/gone", 3, 12};

} // namespace

TEST(TrashLedger, MissingOrCorruptFilesReadAsEmpty) {
    TempFolder root;
    const TrashLedger ledger(root / "Ambrel/trash-ledger.json");
    EXPECT_EQ(ledger.load(), State{});
    for (const std::string bad :
         {"", "not json", "[]", R"({"entries":[]})", R"({"freedBytes":1})",
          R"({"entries":{},"freedBytes":0})", R"({"entries":[],"freedBytes":-1})",
          R"({"entries":[],"freedBytes":1.5})",
          R"({"entries":[{"trashed":"/t","original":"/o","bytes":-4,"date":1}],"freedBytes":0})",
          R"({"entries":[{"trashed":"/t","original":"/o","bytes":4}],"freedBytes":0})",
          R"({"entries":[{"trashed":1,"original":"/o","bytes":4,"date":1}],"freedBytes":0})",
          R"({"entries":[7],"freedBytes":0})"}) {
        writeFile(ledger.path(), bad);
        EXPECT_EQ(ledger.load(), State{}) << bad;
    }
}

TEST(TrashLedger, RecordsEntriesInTheFileLayout) {
    TempFolder root;
    const TrashLedger ledger(root / "deep/Ambrel/trash-ledger.json");
    const Entry big{
        "/t/files/big", "/w/big", std::uint64_t{1} << 63,
        TrashLedger::referenceSeconds(std::chrono::system_clock::from_time_t(978307200 + 60))};
    EXPECT_DOUBLE_EQ(big.date, 60.0);

    const std::vector<Entry> first{kept, putBack};
    ledger.record(first);
    const auto state = ledger.record(std::vector<Entry>{big});
    EXPECT_EQ(state, (State{{kept, putBack, big}, 0}));
    EXPECT_EQ(ledger.load(), state);

    // The key names are shared with the other platform's ledger.
    const auto root_ =
        QJsonDocument::fromJson(QByteArray::fromStdString(fileText(ledger.path()))).object();
    const auto entry = root_.value("entries").toArray().at(0).toObject();
    EXPECT_EQ(entry.value("trashed").toString(), "/t/files/kept");
    EXPECT_EQ(entry.value("original").toString(), "/w/kept");
    EXPECT_EQ(entry.value("bytes").toInteger(), 100);
    EXPECT_EQ(entry.value("date").toDouble(), 10.5);
    EXPECT_EQ(root_.value("freedBytes").toInteger(-1), 0);
}

TEST(TrashLedger, RefreshReconcilesWithTheTrash) {
    TempFolder root;
    const std::set<std::string> present{"/t/files/kept", "/w/back"};
    const TrashLedger ledger(root / "trash-ledger.json",
                             [&](const std::string& path) { return present.contains(path); });
    ledger.save(State{{kept, putBack, emptied}, 1000});

    const auto before = fileText(ledger.path());
    const auto inodeBefore = inode(ledger.path());
    EXPECT_EQ(ledger.refresh(false), (State{{kept, putBack, emptied}, 1000}));
    EXPECT_EQ(fileText(ledger.path()), before);
    EXPECT_EQ(inode(ledger.path()), inodeBefore);

    const State expected{{kept}, 1003};
    EXPECT_EQ(ledger.refresh(true), expected);
    EXPECT_EQ(ledger.load(), expected);
    EXPECT_EQ(expected.waitingBytes(), 100u);

    const auto settledInode = inode(ledger.path());
    EXPECT_EQ(ledger.refresh(true), expected);
    EXPECT_EQ(inode(ledger.path()), settledInode);

    // The real existence test sees files, folders and dangling links alike.
    writeFile(root / "trash/files/a");
    std::filesystem::create_symlink(root / "nowhere", root / "trash/files/link");
    const TrashLedger real(root / "real.json");
    const std::vector<Entry> entries{{root / "trash/files/a", "/w/a", 1, 0},
                                     {root / "trash/files/link", "/w/l", 2, 0},
                                     {root / "trash/files/b", "/w/b", 4, 0}};
    real.record(entries);
    EXPECT_EQ(real.refresh(true), (State{{entries[0], entries[1]}, 4}));
}

TEST(TrashLedger, AddFreedSettlesTrashedPaths) {
    TempFolder root;
    const TrashLedger ledger(root / "trash-ledger.json");
    ledger.save(State{{kept, putBack, emptied}, 5});
    EXPECT_EQ(ledger.addFreed(7, {}), (State{{kept, putBack, emptied}, 12}));
    EXPECT_EQ(ledger.addFreed(100, {"/t/files/back", "/t/files/unknown"}),
              (State{{kept, emptied}, 112}));
    EXPECT_EQ(ledger.load(), (State{{kept, emptied}, 112}));
}

TEST(TrashLedger, OverflowIsFatalAndWriteErrorsAreSwallowed) {
    TempFolder root;
    const TrashLedger ledger(root / "trash-ledger.json");
    ledger.save(State{{}, std::numeric_limits<std::uint64_t>::max()});
    EXPECT_DEATH(ledger.addFreed(1, {}), "overflow");
    const State full{{kept, {"/t/x", "/o/x", std::numeric_limits<std::uint64_t>::max(), 0}}, 0};
    EXPECT_DEATH(static_cast<void>(full.waitingBytes()), "overflow");

    writeFile(root / "plain-file");
    const TrashLedger unwritable(root / "plain-file/trash-ledger.json");
    unwritable.save(State{{kept}, 1});
    EXPECT_EQ(unwritable.record(std::vector<Entry>{kept}), (State{{kept}, 0}));
    EXPECT_EQ(unwritable.load(), State{});
}
