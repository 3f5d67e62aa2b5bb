// The application: one model, one main window; the last scan shows at once when its
// snapshot is intact, otherwise the target is scanned.
#include "AmbrelModel/AppModel.hpp"
#include "AppWindow.hpp"

#include <QFileInfo>
#include <QGuiApplication>
#include <QQmlApplicationEngine>

#include <cstdio>
#include <optional>

int main(int argc, char* argv[]) {
    QGuiApplication app(argc, argv);
    QGuiApplication::setOrganizationName(QStringLiteral("Ambrel"));
    QGuiApplication::setApplicationName(QStringLiteral("Ambrel"));
    ambrel::AppModel model;
    // `ambrel FOLDER` shows that folder; otherwise the target of the last run.
    std::optional<ambrel::ScanTarget> target;
    if (const auto arguments = QGuiApplication::arguments(); arguments.size() > 1) {
        const QFileInfo folder(arguments.at(1));
        if (!folder.isDir()) {
            std::fprintf(stderr, "ambrel: not a folder: %s\n", qPrintable(arguments.at(1)));
            return 2;
        }
        target = ambrel::ScanTarget::folder(folder.absoluteFilePath().toStdString());
    }
    // The snapshot decodes on a background thread while the window is built.
    model.start(target);
    QQmlApplicationEngine engine;
    if (!ambrel::createMainWindow(engine, model)) return 1;
    // Access may have been granted in the system settings while the window was in the back.
    QObject::connect(&app, &QGuiApplication::applicationStateChanged, &model,
                     [&model](Qt::ApplicationState state) {
                         if (state == Qt::ApplicationActive) model.refreshFullDiskAccess();
                     });
    return app.exec();
}
