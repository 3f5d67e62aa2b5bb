// The main window as a person sees it: a real window on an X server (Xvfb), a fixture folder
// scanned, the window grabbed and its pixels read back.
#include "AmbrelModel/AppModel.hpp"
#include "AppWindow.hpp"
#include "BrantleServices/Locations.hpp"
#include "CleanupTexts.hpp"
#include "RingItem.hpp"
#include "RingKit/RingViewport.hpp"
#include "RingKit/Theme.hpp"
#include "support/TempFolder.hpp"

#include <QGuiApplication>
#include <QImage>
#include <QMouseEvent>
#include <QQmlApplicationEngine>
#include <QQuickWindow>
#include <QThread>

#include <cmath>
#include <cstdio>

namespace {

// Runs the event loop in short slices until `done` holds (at most `rounds` slices of about
// 10 ms).
bool pumpUntil(const std::function<bool()>& done, int rounds = 3000) {
    for (int round = 0; round < rounds && !done(); ++round) {
        QCoreApplication::processEvents(QEventLoop::AllEvents, 10);
        QThread::msleep(10);
    }
    return done();
}

// Lets a running morph (0.38 s) and the gauge's easing play out.
void pumpFrames() {
    pumpUntil([] { return false; }, 150);
}

struct Probe {
    QPointF scene; // window point
    QColor expected;
};

// The window point in the middle of a first-ring slice, and the colour the slice is drawn in.
Probe probeOf(const ambrel::RingItem& ring, const ringkit::RingSegment& segment) {
    const ringkit::RingViewport viewport{ring.width(), ring.height()};
    const double angle = (segment.start + segment.end) / 2;
    const ringkit::RingGeometry geometry;
    const double radius = (geometry.inner(segment.depth) + geometry.outer(segment.depth)) / 2;
    const QPointF local(ring.width() / 2 + std::cos(angle) * radius * viewport.unit(),
                        ring.height() / 2 - std::sin(angle) * radius * viewport.unit());
    const auto color = ringkit::Theme::color(segment, ring.dark());
    return {ring.mapToScene(local), QColor::fromRgbF(color.r, color.g, color.b)};
}

::testing::AssertionResult near(const QImage& image, QPointF at, QColor expected,
                                int tolerance = 12) {
    const QColor got = image.pixelColor(at.toPoint());
    if (std::abs(got.red() - expected.red()) <= tolerance &&
        std::abs(got.green() - expected.green()) <= tolerance &&
        std::abs(got.blue() - expected.blue()) <= tolerance)
        return ::testing::AssertionSuccess();
    return ::testing::AssertionFailure()
           << "pixel at " << at.x() << "," << at.y() << " is " << got.name().toStdString()
           << ", expected " << expected.name().toStdString();
}

QStringList warnings;

void keepWarnings(QtMsgType type, const QMessageLogContext&, const QString& message) {
    // Qt 6.4's animation timer says this of its own bookkeeping when a loaded machine makes an
    // animation end between two frames; it names nothing of ours.
    if (message.startsWith(QStringLiteral("QUnifiedTimer::stopAnimationDriver"))) return;
    if (type != QtDebugMsg && type != QtInfoMsg) warnings.append(message);
}

void hover(QQuickWindow& window, QPointF at) {
    QMouseEvent move(QEvent::MouseMove, at, window.mapToGlobal(at), Qt::NoButton, Qt::NoButton,
                     Qt::NoModifier);
    QGuiApplication::sendEvent(&window, &move);
}

void click(QQuickWindow& window, QPointF at) {
    QMouseEvent press(QEvent::MouseButtonPress, at, window.mapToGlobal(at), Qt::LeftButton,
                      Qt::LeftButton, Qt::NoModifier);
    QGuiApplication::sendEvent(&window, &press);
    QMouseEvent release(QEvent::MouseButtonRelease, at, window.mapToGlobal(at), Qt::LeftButton,
                        Qt::NoButton, Qt::NoModifier);
    QGuiApplication::sendEvent(&window, &release);
}

} // namespace

TEST(MainWindow, ScanShowsTheRingAndAClickFocusesAFolder) {
    TempFolder root;
    root.folder("alpha");
    root.folder("alpha/one");
    root.file("alpha/one/a", 3'000'000);
    root.file("alpha/b", 100'000);
    root.folder("beta");
    root.file("beta/b", 1'500'000);
    root.folder("gamma");
    root.file("gamma/c", 700'000);

    ambrel::AppModel model;
    QQmlApplicationEngine engine;
    warnings.clear();
    const auto previous = qInstallMessageHandler(keepWarnings);
    QQuickWindow* window = ambrel::createMainWindow(engine, model);
    ASSERT_TRUE(window);
    auto* ring = window->findChild<ambrel::RingItem*>("ring");
    auto* breadcrumbs = window->findChild<QQuickItem*>("breadcrumbs");
    ASSERT_TRUE(ring && breadcrumbs);
    ring->setReduceMotion(false);
    ASSERT_TRUE(pumpUntil([&] { return window->isExposed(); }));

    model.chooseFolder(QString::fromStdString(root.path()));
    ASSERT_TRUE(pumpUntil([&] { return model.phase() == ambrel::AppModel::Phase::Ready; }));
    pumpFrames();
    qInstallMessageHandler(previous);
    EXPECT_TRUE(warnings.isEmpty()) << "every binding holds: " << warnings.join('\n').toStdString();
    const QImage shown = window->grabWindow();
    const QString shot = QString::fromStdString(root.path()) + "/../ambrel-main-window.png";
    shown.save(shot);
    std::printf("window grabbed to %s\n", qPrintable(shot));

    // The centre disc.
    const QPointF centre = ring->mapToScene(QPointF(ring->width() / 2, ring->height() / 2));
    const auto disc = ringkit::Theme::palette(ring->dark()).disc;
    EXPECT_TRUE(near(shown, centre, QColor::fromRgbF(disc.r, disc.g, disc.b), 4));

    // The first ring: alpha, beta, gamma in their branch hues, at their angles.
    const auto& tree = *model.tree();
    std::vector<ringkit::RingSegment> first;
    for (const auto& segment : ring->segments())
        if (segment.depth == 1) first.push_back(segment);
    ASSERT_EQ(first.size(), 3u);
    const char* names[] = {"alpha", "beta", "gamma"};
    for (std::size_t i = 0; i < first.size(); ++i) {
        EXPECT_EQ(tree.name(first[i].kind.id), names[i]);
        const auto probe = probeOf(*ring, first[i]);
        EXPECT_TRUE(near(shown, probe.scene, probe.expected)) << names[i];
    }
    EXPECT_NE(probeOf(*ring, first[0]).expected, probeOf(*ring, first[1]).expected);

    // A click on alpha focuses it: the breadcrumbs grow and the ring morphs into alpha's.
    const auto crumbsBefore = breadcrumbs->childItems().size();
    const auto betaProbe = probeOf(*ring, first[1]);
    click(*window, probeOf(*ring, first[0]).scene);
    EXPECT_EQ(tree.name(model.focus()), "alpha");
    const QImage moving = window->grabWindow();
    pumpFrames();
    EXPECT_EQ(breadcrumbs->childItems().size(), crumbsBefore + 1);
    const QImage settled = window->grabWindow();
    // Where beta was, the first frame after the click still shows beta (fading), not yet
    // what the settled ring shows there: alpha's own children.
    EXPECT_FALSE(near(settled, betaProbe.scene, betaProbe.expected, 24));
    EXPECT_FALSE(near(moving, betaProbe.scene, settled.pixelColor(betaProbe.scene.toPoint()), 12))
        << "the ring jumped instead of morphing";
    for (const auto& segment : ring->segments()) {
        if (segment.depth != 1 || !segment.kind.isNode() || segment.span() < 0.3) continue;
        const auto probe = probeOf(*ring, segment);
        EXPECT_TRUE(near(settled, probe.scene, probe.expected)) << tree.name(segment.kind.id);
    }

    // A click in the centre goes back up.
    click(*window, centre);
    EXPECT_EQ(model.focus(), 0u);
}

TEST(MainWindow, ChooseFolderOpensTheFolderDialogAtHome) {
    ambrel::AppModel model;
    QQmlApplicationEngine engine;
    QQuickWindow* window = ambrel::createMainWindow(engine, model);
    ASSERT_TRUE(window);
    auto* button = window->findChild<QObject*>("chooseFolder");
    ASSERT_TRUE(button);
    warnings.clear();
    const auto previous = qInstallMessageHandler(keepWarnings);
    QMetaObject::invokeMethod(button, "clicked");
    pumpUntil([] { return false; }, 50);
    qInstallMessageHandler(previous);
    EXPECT_TRUE(warnings.isEmpty()) << warnings.join('\n').toStdString();
    auto* dialog = window->property("folderDialog").value<QObject*>();
    ASSERT_TRUE(dialog) << "the dialog could not be made";
    EXPECT_TRUE(dialog->property("visible").toBool());
    EXPECT_EQ(dialog->property("currentFolder").toUrl().toLocalFile().toStdString(),
              brantle::Locations::homeDirectory());
}

// The hovered slice is drawn again on top, translucent white: the slices beneath must show
// through it, and once the pointer leaves, the slice shows its own colour again.
TEST(MainWindow, HoverLightensTheSliceUnderThePointer) {
    TempFolder root;
    root.file("big", 3'000'000);
    root.file("small", 1'000'000);

    ambrel::AppModel model;
    QQmlApplicationEngine engine;
    QQuickWindow* window = ambrel::createMainWindow(engine, model);
    ASSERT_TRUE(window);
    auto* ring = window->findChild<ambrel::RingItem*>("ring");
    ASSERT_TRUE(ring);
    ASSERT_TRUE(pumpUntil([&] { return window->isExposed(); }));
    model.chooseFolder(QString::fromStdString(root.path()));
    ASSERT_TRUE(pumpUntil([&] { return model.phase() == ambrel::AppModel::Phase::Ready; }));
    pumpFrames();
    ASSERT_FALSE(ring->segments().empty());
    const auto probe = probeOf(*ring, ring->segments().front());

    hover(*window, probe.scene);
    pumpFrames();
    EXPECT_EQ(ring->hoveredIndex(), 0);
    EXPECT_TRUE(ring->hoveredText().startsWith("big \u2014 ")) << ring->hoveredText().toStdString();
    const QColor lit = window->grabWindow().pixelColor(probe.scene.toPoint());
    EXPECT_GT(lit.lightness(), probe.expected.lightness() + 20) << lit.name().toStdString();
    EXPECT_LT(lit.lightness(), 250) << "translucent: the slice shows through";

    hover(*window, ring->mapToScene(QPointF(ring->width() / 2, ring->height() / 2)));
    pumpFrames();
    EXPECT_EQ(ring->hoveredIndex(), -1);
    EXPECT_TRUE(near(window->grabWindow(), probe.scene, probe.expected, 6));
}

// The sheet's counted texts: the plural follows each count, "it" or "them" the item count.
TEST(CleanupTexts, CountedTexts) {
    using T = ambrel::CleanupTexts;
    const std::vector<std::pair<QString, const char*>> cases = {
        {T::title(1, false), "Move 1 item to the Trash?"},
        {T::title(3, true), "Delete 3 items permanently?"},
        {T::warningsRead(1, 1), "I've read the 1 warning above and still want to remove it"},
        {T::warningsRead(1, 2), "I've read the 1 warning above and still want to remove them"},
        {T::warningsRead(2, 2), "I've read the 2 warnings above and still want to remove them"},
        {T::headline(1, 4000, false), "Moved 1 item (4 KB) to the Trash"},
        {T::headline(2, 0, true), "Deleted 2 items (0 bytes)"},
        {T::body(1'200'000, false), "1.2 MB will be moved to the Trash. You can put anything "
                                    "back from the Trash in Files until you empty it."},
    };
    for (const auto& [got, expected] : cases)
        EXPECT_EQ(got.toStdString(), expected);
}

int main(int argc, char** argv) {
    // A home of its own, so the test leaves no settings or snapshots behind.
    static TempFolder home;
    setenv("HOME", home.path().c_str(), 1);
    setenv("XDG_DATA_HOME", (home / "data").c_str(), 1);
    setenv("XDG_CONFIG_HOME", (home / "config").c_str(), 1);
    setenv("XDG_CACHE_HOME", (home / "cache").c_str(), 1);
    QGuiApplication app(argc, argv);
    ::testing::InitGoogleTest(&argc, argv);
    return RUN_ALL_TESTS();
}
