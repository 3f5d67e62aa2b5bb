// CPU time per drawn frame while the ring morphs, in the real window under the platform's
// OpenGL (Mesa's software renderer under Xvfb). A million-file tree in memory; the focus
// flips between two large folders and every morph's frames are counted. With `--grab DIR` the
// settled window and one frame in the middle of a morph are saved there, to compare looks.
#include "AmbrelModel/AppModel.hpp"
#include "AppWindow.hpp"
#include "RingItem.hpp"

#include <QDir>
#include <QEventLoop>
#include <QGuiApplication>
#include <QQmlApplicationEngine>
#include <QQuickWindow>
#include <QTimer>

#include <pthread.h>

#include <atomic>
#include <cstdio>
#include <ctime>
#include <string>

namespace {

double cpuSeconds(clockid_t clock = CLOCK_PROCESS_CPUTIME_ID) {
    timespec now{};
    clock_gettime(clock, &now);
    return static_cast<double>(now.tv_sec) + static_cast<double>(now.tv_nsec) * 1e-9;
}

// 20 folders × 50 folders × 1,000 files of varied sizes.
std::shared_ptr<brantle::FileTree> millionFiles() {
    auto tree = std::make_shared<brantle::FileTree>("/bench");
    tree->reserve(1'001'100);
    std::uint64_t seed = 1;
    for (int a = 0; a < 20; ++a) {
        const auto top =
            tree->append(0, "top" + std::to_string(a), 0, 0, 0, brantle::NodeFlags::directory);
        for (int b = 0; b < 50; ++b) {
            const auto mid = tree->append(top, "mid" + std::to_string(b), 0, 0, 0,
                                          brantle::NodeFlags::directory);
            for (int c = 0; c < 1000; ++c) {
                seed = seed * 6364136223846793005ull + 1442695040888963407ull;
                tree->append(mid, "f" + std::to_string(c), 4096 * (1 + (seed >> 52)), 0, 0, {});
            }
        }
    }
    tree->propagateSizes();
    return tree;
}

// Runs the event loop as the application does: asleep between events, not polling, so the
// main thread's CPU time is the window's own.
void pump(int milliseconds) {
    QEventLoop loop;
    QTimer::singleShot(milliseconds, &loop, &QEventLoop::quit);
    loop.exec();
}

} // namespace

int main(int argc, char* argv[]) {
    QGuiApplication app(argc, argv);
    const QStringList arguments = app.arguments();
    const qsizetype grabAt = arguments.indexOf(QStringLiteral("--grab"));
    const QString grabDir = grabAt > 0 ? arguments.value(grabAt + 1) : QString();
    ambrel::AppModel model;
    QQmlApplicationEngine engine;
    QQuickWindow* window = ambrel::createMainWindow(engine, model);
    if (!window) return 1;
    model.finish(millionFiles(), ambrel::ScanTarget::folder("/bench"));
    pump(1500);

    // Timing starts at the morph's first frame, so the one-off relayout and list rebuild of a
    // focus change are left out: what remains is the cost of drawing frames.
    // The render thread's own share is told apart: it is what the renderer costs.
    std::atomic<clockid_t> renderClock{CLOCK_THREAD_CPUTIME_ID};
    QObject::connect(
        window, &QQuickWindow::beforeRendering, window,
        [&] {
            clockid_t clock{};
            if (pthread_getcpuclockid(pthread_self(), &clock) == 0) renderClock = clock;
        },
        Qt::DirectConnection);
    int frames = 0;
    double firstFrameAt = 0;
    double firstRenderAt = 0;
    QObject::connect(window, &QQuickWindow::frameSwapped, [&] {
        if (frames++ > 0) return;
        firstFrameAt = cpuSeconds();
        firstRenderAt = cpuSeconds(renderClock.load());
    });
    const auto& tree = *model.tree();
    const auto first = tree.childrenBySize(0)[0];
    const auto second = tree.childrenBySize(0)[1];
    if (!grabDir.isEmpty()) {
        QDir().mkpath(grabDir);
        window->grabWindow().save(grabDir + QStringLiteral("/settled.png"));
        model.focusOn(static_cast<int>(second));
        pump(190); // half of the morph
        window->grabWindow().save(grabDir + QStringLiteral("/morphing.png"));
        pump(600);
        window->grabWindow().save(grabDir + QStringLiteral("/refocused.png"));
    }
    constexpr int morphs = 10;
    double cpu = 0;
    double render = 0;
    int counted = 0;
    for (int i = 0; i < morphs; ++i) {
        model.focusOn(0);
        pump(600);
        frames = 0;
        model.focusOn(static_cast<int>(i % 2 ? first : second));
        pump(450); // the 0.38 s morph and a little idle after it
        if (frames > 1) {
            cpu += cpuSeconds() - firstFrameAt;
            render += cpuSeconds(renderClock.load()) - firstRenderAt;
            counted += frames - 1;
        }
    }
    std::printf("segments in the focused layout: %zu, nodes: %zu\n", model.segments().size(),
                tree.count());
    const double perFrame = counted ? 1000.0 / counted : 0.0;
    std::printf("morph frames: %d over %d morphs, CPU per frame: %.2f ms (render thread %.2f ms)\n",
                counted, morphs, cpu * perFrame, render * perFrame);
    return 0;
}
