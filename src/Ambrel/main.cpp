// The application: one model, one main window; the last scan shows at once when its
// snapshot is intact, otherwise the target is scanned.
#include "AmbrelModel/AppModel.hpp"
#include "AppWindow.hpp"

#include <QGuiApplication>
#include <QQmlApplicationEngine>

int main(int argc, char* argv[]) {
    QGuiApplication app(argc, argv);
    QGuiApplication::setOrganizationName(QStringLiteral("Ambrel"));
    QGuiApplication::setApplicationName(QStringLiteral("Ambrel"));
    ambrel::AppModel model;
    // The snapshot decodes on a background thread while the window is built.
    model.start();
    QQmlApplicationEngine engine;
    if (!ambrel::createMainWindow(engine, model)) return 1;
    // Access may have been granted in the system settings while the window was in the back.
    QObject::connect(&app, &QGuiApplication::applicationStateChanged, &model,
                     [&model](Qt::ApplicationState state) {
                         if (state == Qt::ApplicationActive) model.refreshFullDiskAccess();
                     });
    return app.exec();
}
