#include "ModelEnvironment.hpp"

#include "BrantleCore/Snapshot.hpp"

#include <QStringList>

#include <algorithm>

using ambrel::AppModel;
using ambrel::ScanTarget;
using brantle::FileKind;

namespace {

/// "Name bytes" of each legend row, in order.
QStringList legend(const AppModel& model) {
    QStringList out;
    for (const auto& row : model.kindRows()) {
        const auto map = row.toMap();
        out << map["name"].toString() + " " + QString::number(map["bytes"].toDouble(), 'f', 0);
    }
    return out;
}

QString row(const char* name, const std::string& path) {
    return QString(name) + " " + QString::number(testing_support::allocatedBytes(path));
}

bool hasKinds(const AppModel& model) {
    return !model.kindRows().isEmpty();
}

/// The kind colour of the slice of the node at `path`, −2 when no slice shows it.
int hueOf(const AppModel& model, const std::string& path) {
    const auto node = model.tree()->node(path);
    const auto found = std::ranges::find_if(model.segments(), [&](const auto& segment) {
        return segment.kind.isNode() && node && segment.kind.id == *node;
    });
    return found == model.segments().end() ? -2 : found->kindHue;
}

} // namespace

TEST(FileKinds, TheLegendFollowsTheFocusAndTheRingTakesTheKindsColours) {
    TempFolder root;
    root.folder("photos");
    root.file("photos/a.jpg", 300'000);
    root.file("photos/b.PNG", 100'000);
    root.file("song.mp3", 200'000);
    root.file("notes.txt", 5'000);
    AppModel model;
    model.load(ScanTarget::folder(root.path()), false);
    ASSERT_TRUE(settleReady(model));
    ASSERT_TRUE(settle(model, [&] { return hasKinds(model); }));

    const auto pictures = testing_support::allocatedBytes(root / "photos/a.jpg") +
                          testing_support::allocatedBytes(root / "photos/b.PNG");
    const QStringList whole{"Pictures " + QString::number(pictures),
                            row("Music", root / "song.mp3"), row("Documents", root / "notes.txt")};
    EXPECT_EQ(legend(model), whole);
    double shares = 0;
    for (const auto& row : model.kindRows())
        shares += row.toMap()["share"].toDouble();
    EXPECT_NEAR(shares, 1.0, 1e-9);

    model.focusOn(static_cast<int>(*model.tree()->node(root / "photos")));
    EXPECT_EQ(legend(model), QStringList{"Pictures " + QString::number(pictures)});
    model.goUp();

    // By branch until asked; then each slice in its kind's colour, a folder in its largest.
    EXPECT_EQ(hueOf(model, root / "photos"), -1);
    model.setColourByKind(true);
    EXPECT_EQ(hueOf(model, root / "photos"), int(FileKind::pictures));
    EXPECT_EQ(hueOf(model, root / "photos/b.PNG"), int(FileKind::pictures));
    EXPECT_EQ(hueOf(model, root / "song.mp3"), int(FileKind::music));

    // A new tree (numbered afresh) shows the previous one's kinds by path until its own are
    // worked out, so neither the legend nor the ring flickers.
    model.finish(std::make_shared<const brantle::FileTree>(model.tree()->compacted()),
                 ScanTarget::folder(root.path()));
    EXPECT_EQ(model.treeKinds(), nullptr);
    EXPECT_EQ(legend(model), whole);
    EXPECT_EQ(hueOf(model, root / "photos/b.PNG"), int(FileKind::pictures));
    ASSERT_TRUE(settle(model, [&] { return model.treeKinds(); }));

    // A scan opened from a file shows its kinds the same way.
    TempFolder files;
    const auto& tree = *model.tree();
    const auto encoded = brantle::Snapshot::encode(tree, {tree.rootPath(), 1.7e9, 0});
    writeFile(files / "scan.brs", std::string(encoded.begin(), encoded.end()));
    model.openScan(QString::fromStdString(files / "scan.brs"));
    ASSERT_TRUE(settle(model, [&] { return model.readOnly() && model.treeKinds(); }));
    EXPECT_EQ(legend(model), whole);
    EXPECT_EQ(hueOf(model, root / "song.mp3"), int(FileKind::music));
    EXPECT_TRUE(AppModel().colourByKind()); // the choice outlasts the window
    model.setColourByKind(false);
    EXPECT_EQ(hueOf(model, root / "song.mp3"), -1);
    EXPECT_FALSE(AppModel().colourByKind());
}
