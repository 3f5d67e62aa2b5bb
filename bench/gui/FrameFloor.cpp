// The floor under the ring's morph frames: CPU time per frame of a bare window of the main
// window's size, one square turning in it, under the same OpenGL. What a frame costs before
// any of Ambrel's content is drawn.
#include <QEventLoop>
#include <QGuiApplication>
#include <QQmlApplicationEngine>
#include <QQuickWindow>
#include <QTimer>

#include <cstdio>
#include <ctime>

namespace {

double cpuSeconds() {
    timespec now{};
    clock_gettime(CLOCK_PROCESS_CPUTIME_ID, &now);
    return static_cast<double>(now.tv_sec) + static_cast<double>(now.tv_nsec) * 1e-9;
}

void pump(int milliseconds) {
    QEventLoop loop;
    QTimer::singleShot(milliseconds, &loop, &QEventLoop::quit);
    loop.exec();
}

constexpr auto window = R"(
import QtQuick
Window {
    width: 1100; height: 720; visible: true; color: "white"
    Rectangle {
        objectName: "square"; width: 200; height: 200; color: "steelblue"; anchors.centerIn: parent
        NumberAnimation on rotation { objectName: "turn"; running: false; from: 0; to: 90; duration: 380 }
    }
})";

} // namespace

int main(int argc, char* argv[]) {
    QGuiApplication app(argc, argv);
    QQmlApplicationEngine engine;
    engine.loadData(window);
    auto* shown = qobject_cast<QQuickWindow*>(engine.rootObjects().value(0));
    if (!shown) return 1;
    pump(1500);
    int frames = 0;
    double firstFrameAt = 0;
    QObject::connect(shown, &QQuickWindow::frameSwapped, [&] {
        if (frames++ == 0) firstFrameAt = cpuSeconds();
    });
    QObject* turn = shown->findChild<QObject*>(QStringLiteral("turn"));
    double cpu = 0;
    int counted = 0;
    for (int i = 0; i < 10; ++i) {
        frames = 0;
        QMetaObject::invokeMethod(turn, "start");
        pump(450);
        if (frames > 1) {
            cpu += cpuSeconds() - firstFrameAt;
            counted += frames - 1;
        }
    }
    std::printf("bare window frames: %d, CPU per frame: %.2f ms\n", counted,
                counted ? cpu / counted * 1000 : 0.0);
    return 0;
}
