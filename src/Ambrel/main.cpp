// The application: one model, one main window; the last scan shows at once when its
// snapshot is intact, otherwise the target is scanned.
#include "AmbrelModel/AppModel.hpp"
#include "AmbrelModel/DesktopNotifications.hpp"
#include "AmbrelModel/LoginItem.hpp"
#include "AppWindow.hpp"
#include "SingleInstance.hpp"
#include "TrayIcon.hpp"

#include <QApplication>
#include <QDBusConnection>
#include <QQuickWindow>

#include <QCommandLineParser>
#include <QFileInfo>
#include <QQmlApplicationEngine>

#include <algorithm>
#include <cstdio>
#include <cstdlib>
#include <optional>
#include <span>
#include <string_view>

namespace {

[[noreturn]] void fail(const QString& message) {
    std::fprintf(stderr, "ambrel: %s\nTry 'ambrel --help' for more information.\n",
                 qPrintable(message));
    std::exit(2);
}

/// What the command line asks to show: a folder to scan, or a scan file to open.
struct Arguments {
    std::optional<ambrel::ScanTarget> target;
    QString scanFile;
};

/// Reads the command line. Exits with status 2 on a usage error, and after printing --help or
/// --version.
Arguments parseArguments(const QCoreApplication& app) {
    QCommandLineParser parser;
    parser.setApplicationDescription(
        QStringLiteral("Shows what fills a disk as a ring of folders beside a list of the "
                       "biggest items."));
    parser.addHelpOption();
    parser.addVersionOption();
    parser.addOption(QCommandLineOption(QString::fromLatin1(ambrel::LoginItem::trayArgument + 2),
                                        QStringLiteral("Start in the tray only, as at login.")));
    const QCommandLineOption open(
        QStringLiteral("open"), QStringLiteral("Show a scan saved by brantle or ncdu, read-only."),
        QStringLiteral("FILE"));
    parser.addOption(open);
    parser.addPositionalArgument(
        QStringLiteral("FOLDER"),
        QStringLiteral("The folder to show (default: the one shown last, at first the startup "
                       "disk)."),
        QStringLiteral("[FOLDER]"));
    if (!parser.parse(app.arguments())) fail(parser.errorText());
    if (parser.isSet(QStringLiteral("help")) || parser.isSet(QStringLiteral("help-all")))
        parser.showHelp(0);
    if (parser.isSet(QStringLiteral("version"))) parser.showVersion();
    const QStringList folders = parser.positionalArguments();
    if (folders.size() > 1) fail(QStringLiteral("too many arguments"));
    Arguments arguments;
    if (parser.isSet(open)) {
        if (!folders.isEmpty()) fail(QStringLiteral("give a folder or --open FILE, not both"));
        const QFileInfo file(parser.value(open));
        if (!file.isFile()) fail(QStringLiteral("not a file: ") + parser.value(open));
        arguments.scanFile = file.absoluteFilePath();
    }
    if (folders.isEmpty()) return arguments;
    const QFileInfo folder(folders.front());
    if (!folder.isDir()) fail(QStringLiteral("not a folder: ") + folders.front());
    arguments.target = ambrel::ScanTarget::folder(folder.absoluteFilePath().toStdString());
    return arguments;
}

/// --help and --version print and exit without opening the display, so they work anywhere.
bool asksForTextOnly(int argc, char* argv[]) {
    const std::span<char*> arguments(argv + 1, static_cast<std::size_t>(argc - 1));
    return std::ranges::any_of(arguments, [](std::string_view argument) {
        return argument == "--help" || argument == "-h" || argument == "-?" ||
               argument == "--help-all" || argument == "--version" || argument == "-v";
    });
}

/// Started at login: the autostart entry's argument, or the login item on and the system up
/// for less than ten minutes. Then Ambrel waits in the tray without a window.
bool startedAtLogin(const QCoreApplication& app) {
    if (app.arguments().contains(QString::fromLatin1(ambrel::LoginItem::trayArgument))) return true;
    double uptime = 0;
    std::FILE* file = std::fopen("/proc/uptime", "r");
    const bool read = file && std::fscanf(file, "%lf", &uptime) == 1;
    if (file) std::fclose(file);
    return ambrel::LoginItem::isSet() && read && uptime < 600;
}

} // namespace

int main(int argc, char* argv[]) {
    QCoreApplication::setOrganizationName(QStringLiteral("Ambrel"));
    QCoreApplication::setApplicationName(QStringLiteral("Ambrel"));
    QCoreApplication::setApplicationVersion(QStringLiteral(AMBREL_VERSION));
    if (asksForTextOnly(argc, argv)) {
        const QCoreApplication text(argc, argv);
        parseArguments(text);
    }
    QApplication app(argc, argv);
    QGuiApplication::setDesktopFileName(QStringLiteral("app.ambrel.Ambrel"));
    const Arguments arguments = parseArguments(app);
    // A second launch brings the running window forward instead.
    if (!ambrel::SingleInstance::claim(QDBusConnection::sessionBus())) return 0;
    ambrel::AppModel model;
    // The snapshot decodes on a background thread while the window is built.
    model.start(arguments.target);
    model.openScan(arguments.scanFile);
    QQmlApplicationEngine engine;
    QQuickWindow* window = ambrel::createMainWindow(engine, model);
    if (!window) return 1;
    if (startedAtLogin(app)) window->hide();
    // The ring follows the disk only while someone can see it.
    const auto noteShown = [&model, window] {
        model.setWindowShown(window->visibility() != QWindow::Hidden &&
                             window->visibility() != QWindow::Minimized);
    };
    QObject::connect(window, &QWindow::visibilityChanged, &model, noteShown);
    noteShown();
    ambrel::TrayIcon tray(model);
    ambrel::DesktopNotifications notifications(QDBusConnection::sessionBus());
    QObject::connect(&notifications, &ambrel::DesktopNotifications::undelivered, &tray,
                     &ambrel::TrayIcon::showMessage);
    QObject::connect(&model, &ambrel::AppModel::windowRequested, window, [window] {
        window->show();
        window->raise();
        window->requestActivate();
    });
    // Re-opening Ambrel shows the explorer, as a click on "Open Ambrel" does.
    const ambrel::SingleInstance instance(
        QDBusConnection::sessionBus(), [&model] { model.openSection(QStringLiteral("explorer")); });
    model.watch().setNotifications(&notifications);
    model.startTideWatch();
    // Access may have been granted in the system settings while the window was in the back.
    QObject::connect(&app, &QGuiApplication::applicationStateChanged, &model,
                     [&model](Qt::ApplicationState state) {
                         if (state == Qt::ApplicationActive) model.refreshFullDiskAccess();
                     });
    return app.exec();
}
