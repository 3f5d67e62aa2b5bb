#include "AppWindow.hpp"

#include "AmbrelModel/AppModel.hpp"
#include "BrantleServices/Locations.hpp"
#include "RingItem.hpp"

#include <QGuiApplication>
#include <QPalette>
#include <QProcess>
#include <QQmlApplicationEngine>
#include <QQmlContext>
#include <QQuickWindow>
#include <QStandardPaths>

namespace ambrel {

bool desktopReducesMotion() {
    const auto gsettings = QStandardPaths::findExecutable(QStringLiteral("gsettings"));
    if (gsettings.isEmpty()) return false;
    QProcess process;
    process.start(gsettings, {QStringLiteral("get"), QStringLiteral("org.gnome.desktop.interface"),
                              QStringLiteral("enable-animations")});
    if (!process.waitForFinished(1000)) {
        process.kill();
        process.waitForFinished();
        return false;
    }
    return process.readAllStandardOutput().trimmed() == "false";
}

namespace {

void setUnlessSet(const char* name, const char* value) {
    if (!qEnvironmentVariableIsSet(name)) qputenv(name, value);
}

} // namespace

void prepareRendering() {
    // The window is redrawn whole on every frame of a morph; with a software renderer the
    // pixels cost as much as the ring's own work. Hinted glyph masks are drawn far cheaper
    // than distance-field glyphs and look as crisp at the window's text sizes.
    QQuickWindow::setTextRenderType(QQuickWindow::NativeTextRendering);
    // A 2D scene in tree order needs no depth or stencil buffer: nothing to clear, test or
    // store per pixel. Only axis-aligned clips are used, which the scissor does.
    setUnlessSet("QSG_NO_DEPTH_BUFFER", "1");
    setUnlessSet("QSG_NO_STENCIL_BUFFER", "1");
    // Mesa's software renderer otherwise hands each frame's tiles to worker threads; a frame
    // this small costs less CPU rasterised on the render thread than spread and joined.
    setUnlessSet("LP_NUM_THREADS", "0");
}

QQuickWindow* createMainWindow(QQmlApplicationEngine& engine, AppModel& model) {
    prepareRendering();
    qmlRegisterType<RingItem>("Ambrel", 1, 0, "RingItem");
    qmlRegisterUncreatableType<AppModel>("Ambrel", 1, 0, "AppModel",
                                         QStringLiteral("The application has one model"));
    const bool dark = QGuiApplication::palette().color(QPalette::Window).lightnessF() < 0.5;
    engine.rootContext()->setContextProperty(QStringLiteral("appModel"), &model);
    engine.rootContext()->setContextProperty(QStringLiteral("darkAppearance"), dark);
    engine.rootContext()->setContextProperty(
        QStringLiteral("homeFolder"),
        QUrl::fromLocalFile(QString::fromStdString(brantle::Locations::homeDirectory())));
    engine.load(QUrl(QStringLiteral("qrc:/qml/Main.qml")));
    if (engine.rootObjects().isEmpty()) return nullptr;
    auto* window = qobject_cast<QQuickWindow*>(engine.rootObjects().first());
    auto* ring = window ? window->findChild<RingItem*>(QStringLiteral("ring")) : nullptr;
    if (!ring) return nullptr;

    ring->setDark(dark);
    ring->setReduceMotion(desktopReducesMotion());
    auto showLayout = [ring, &model] { ring->setSegments(model.segments(), model.parentLookup()); };
    QObject::connect(&model, &AppModel::layoutIDChanged, ring, showLayout);
    QObject::connect(&model, &AppModel::fullnessChanged, ring,
                     [ring, &model] { ring->setLevel(model.fullness()); });
    QObject::connect(ring, &RingItem::segmentClicked, &model,
                     [&model](int index) { model.focusOn(model.folderAtSegment(index)); });
    QObject::connect(ring, &RingItem::centerClicked, &model, &AppModel::goUp);
    showLayout();
    ring->setLevel(model.fullness());
    return window;
}

} // namespace ambrel
