#include "AppWindow.hpp"

#include "AmbrelModel/AppModel.hpp"
#include "BrantleServices/Locations.hpp"

#include <QProcess>
#include <QQmlApplicationEngine>
#include <QQuickWindow>
#include <QStandardPaths>

void qml_register_types_Ambrel();

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
    // The module's types live in this static library; taking the registration's address
    // keeps the linker from dropping it.
    volatile auto registration = &qml_register_types_Ambrel;
    Q_UNUSED(registration);
    engine.addImportPath(QStringLiteral("qrc:/qt/qml"));
    engine.setInitialProperties(
        {{QStringLiteral("appModel"), QVariant::fromValue(&model)},
         {QStringLiteral("reduceMotion"), desktopReducesMotion()},
         {QStringLiteral("homeFolder"),
          QUrl::fromLocalFile(QString::fromStdString(brantle::Locations::homeDirectory()))}});
    engine.load(QUrl(QStringLiteral("qrc:/qt/qml/Ambrel/Main.qml")));
    if (engine.rootObjects().isEmpty()) return nullptr;
    return qobject_cast<QQuickWindow*>(engine.rootObjects().first());
}

} // namespace ambrel
