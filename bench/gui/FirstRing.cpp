// Time from launch to the first frame that draws the ring, for a folder whose snapshot is
// stored: the same model and window as the application. The launching script passes the
// moment it started this process (AMBREL_LAUNCHED_AT, ns since 1970), so loading Qt and the
// libraries counts too.
#include "AmbrelModel/AppModel.hpp"
#include "AppWindow.hpp"

#include <QGuiApplication>
#include <QQmlApplicationEngine>
#include <QQuickWindow>
#include <QTimer>

#include <chrono>
#include <cstdio>
#include <cstdlib>

namespace {

double millisecondsSince(std::int64_t nanoseconds) {
    const auto now = std::chrono::duration_cast<std::chrono::nanoseconds>(
                         std::chrono::system_clock::now().time_since_epoch())
                         .count();
    return static_cast<double>(now - nanoseconds) / 1e6;
}

} // namespace

int main(int argc, char* argv[]) {
    const char* launched = std::getenv("AMBREL_LAUNCHED_AT");
    if (argc != 2 || !launched) {
        std::fprintf(stderr, "usage: AMBREL_LAUNCHED_AT=NS gui_first_ring FOLDER\n");
        return 2;
    }
    const std::int64_t launchedAt = std::strtoll(launched, nullptr, 10);
    QGuiApplication app(argc, argv);
    const double appAt = millisecondsSince(launchedAt);
    QGuiApplication::setOrganizationName(QStringLiteral("Ambrel"));
    QGuiApplication::setApplicationName(QStringLiteral("Ambrel"));
    ambrel::AppModel model;
    // As the application does: the load runs while the window is built.
    model.load(ambrel::ScanTarget::folder(argv[1]), false);
    QQmlApplicationEngine engine;
    QQuickWindow* window = ambrel::createMainWindow(engine, model);
    if (!window) return 1;
    const double builtAt = millisecondsSince(launchedAt);

    double windowAt = 0;
    double shownAt = 0;
    bool scanned = false;
    bool drawn = false;
    bool ready = false;
    auto quitWhenDone = [&] {
        if (drawn && ready)
            QTimer::singleShot(0, &app, [code = scanned ? 1 : 0] { QCoreApplication::exit(code); });
    };
    QObject::connect(window, &QQuickWindow::frameSwapped, [&] {
        if (windowAt == 0) windowAt = millisecondsSince(launchedAt);
        if (model.segments().empty() || drawn) return;
        drawn = true;
        std::printf("application object: %.0f ms\n", appAt);
        std::printf("window built: %.0f ms\nfirst window frame: %.0f ms\ntree shown: %.0f ms\n"
                    "first ring frame: %.0f ms\n",
                    builtAt, windowAt, shownAt, millisecondsSince(launchedAt));
        quitWhenDone();
    });
    QObject::connect(&model, &ambrel::AppModel::revisionChanged, [&] {
        if (shownAt == 0) shownAt = millisecondsSince(launchedAt);
    });
    // Ready comes after the catch-up, which may end before or after the first ring.
    QObject::connect(&model, &ambrel::AppModel::phaseChanged, [&] {
        if (model.phase() == ambrel::AppModel::Phase::Scanning) scanned = true;
        if (model.phase() != ambrel::AppModel::Phase::Ready) return;
        ready = true;
        std::printf("model ready: %.0f ms (nodes: %zu, full scan: %s)\n",
                    millisecondsSince(launchedAt), model.tree()->count(), scanned ? "yes" : "no");
        quitWhenDone();
    });
    return app.exec();
}
