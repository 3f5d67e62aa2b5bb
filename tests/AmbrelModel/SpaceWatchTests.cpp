// Space Watch against a private session bus whose notification server is this test's own.
#include "AmbrelModel/DesktopNotifications.hpp"
#include "AmbrelModel/LoginItem.hpp"
#include "AmbrelModel/Settings.hpp"
#include "BrantleCore/ByteFormat.hpp"
#include "BrantleCore/DiskScanner.hpp"
#include "BrantleServices/Locations.hpp"
#include "BrantleServices/TideHistory.hpp"
#include "ModelEnvironment.hpp"

#include <gtest/gtest.h>

#include <QDBusConnection>
#include <QDBusMessage>
#include <QDBusVirtualObject>
#include <QElapsedTimer>
#include <QFile>
#include <QProcess>

#include <cstdlib>
#include <optional>

using ambrel::AppModel;
using brantle::TideAlert;

namespace {

/// A dbus-daemon of the test's own, stopped with the program.
class PrivateBus {
public:
    static const QString& address() {
        static PrivateBus bus;
        return bus.address_;
    }

private:
    PrivateBus() {
        daemon_.start(QStringLiteral("dbus-daemon"),
                      {QStringLiteral("--session"), QStringLiteral("--nofork"),
                       QStringLiteral("--print-address=1")});
        if (daemon_.waitForReadyRead(10'000))
            address_ = QString::fromUtf8(daemon_.readLine()).trimmed();
    }
    ~PrivateBus() {
        daemon_.kill();
        daemon_.waitForFinished();
    }
    QProcess daemon_;
    QString address_;
};

/// Records Notify calls and answers with increasing ids, as a desktop's server does.
class NotificationServer : public QDBusVirtualObject {
public:
    struct Notification {
        QString title, body, section;
        QStringList actions;
        uint id = 0;
    };
    std::vector<Notification> shown;

    explicit NotificationServer(const QString& name)
        : bus_(QDBusConnection::connectToBus(PrivateBus::address(), name)) {
        bus_.registerVirtualObject(path(), this);
        bus_.registerService(QStringLiteral("org.freedesktop.Notifications"));
    }
    ~NotificationServer() override {
        bus_.unregisterService(QStringLiteral("org.freedesktop.Notifications"));
        bus_.unregisterObject(path());
        QDBusConnection::disconnectFromBus(bus_.name());
    }
    static QString path() { return QStringLiteral("/org/freedesktop/Notifications"); }

    QString introspect(const QString&) const override { return {}; }
    bool handleMessage(const QDBusMessage& message, const QDBusConnection& connection) override {
        if (message.member() != QStringLiteral("Notify")) return false;
        const auto args = message.arguments();
        const uint id = static_cast<uint>(shown.size()) + 1;
        shown.push_back(
            {args[3].toString(), args[4].toString(), QString(), args[5].toStringList(), id});
        connection.send(message.createReply(QVariant::fromValue(id)));
        return true;
    }
    void invoke(uint id, const QString& action) {
        auto signal =
            QDBusMessage::createSignal(path(), QStringLiteral("org.freedesktop.Notifications"),
                                       QStringLiteral("ActionInvoked"));
        signal << id << action;
        bus_.send(signal);
    }

private:
    QDBusConnection bus_;
};

bool spin(const std::function<bool()>& done) {
    QElapsedTimer clock;
    clock.start();
    while (!done() && clock.elapsed() < 5'000)
        QCoreApplication::processEvents(QEventLoop::AllEvents, 20);
    return done();
}

/// Lets pending calls and signals cross the bus when nothing is awaited.
void drain() {
    QElapsedTimer clock;
    clock.start();
    while (clock.elapsed() < 300)
        QCoreApplication::processEvents(QEventLoop::AllEvents, 20);
}

void forgetPostedAlerts() {
    for (const auto* kind : {"lowSpace", "fillingFast", "bigGrowth"})
        ambrel::Settings::setLastAlert(kind, QDateTime());
}

struct Posting {
    const char* name;
    std::vector<TideAlert> alerts;
    std::vector<QString> titles, bodies;
};

class SpaceWatchPost : public ::testing::TestWithParam<Posting> {};

std::string home() {
    return brantle::Locations::homeDirectory();
}

} // namespace

TEST_P(SpaceWatchPost, PostsOneNotificationPerKindADayWithTheseTexts) {
    ASSERT_FALSE(PrivateBus::address().isEmpty()) << "dbus-daemon did not start";
    forgetPostedAlerts();
    NotificationServer server(QStringLiteral("server-post"));
    ambrel::DesktopNotifications notifications(
        QDBusConnection::connectToBus(PrivateBus::address(), QStringLiteral("client-post")));
    AppModel model;
    model.watch().setNotifications(&notifications);
    for (auto alert : GetParam().alerts) {
        // The table is built before the test home is set.
        if (auto* grown = std::get_if<TideAlert::BigGrowth>(&alert.payload))
            if (grown->growth.path.starts_with("~/")) grown->growth.path.replace(0, 1, home());
        model.watch().post(alert);
    }
    spin([&] { return server.shown.size() >= GetParam().titles.size(); });
    drain();
    ASSERT_EQ(server.shown.size(), GetParam().titles.size());
    for (std::size_t i = 0; i < server.shown.size(); ++i) {
        EXPECT_EQ(server.shown[i].title, GetParam().titles[i]);
        EXPECT_EQ(server.shown[i].body, GetParam().bodies[i]);
        EXPECT_TRUE(server.shown[i].actions.contains(QStringLiteral("default")));
    }
}

INSTANTIATE_TEST_SUITE_P(
    Alerts, SpaceWatchPost,
    ::testing::Values(Posting{"KindsApart",
                              {TideAlert::lowSpace(5'000'000'000), TideAlert::fillingFast(3),
                               TideAlert::fillingFast(2), TideAlert::lowSpace(4'000'000'000)},
                              {"Your disk is nearly full", "Your disk is filling up fast"},
                              {"Only 5 GB left. Suggestions can show you what's safe to remove.",
                               "At this rate it will be full in about 3 days."}},
                      Posting{"OneDay",
                              {TideAlert::fillingFast(1)},
                              {"Your disk is filling up fast"},
                              {"At this rate it will be full within a day."}},
                      Posting{"GrowthUnderHome",
                              {TideAlert::bigGrowth({"~/Videos/Raw", 6'000'000'000})},
                              {"Raw grew by 6 GB today"},
                              {"~/Videos/Raw"}},
                      Posting{"ShrinkOutsideHome",
                              {TideAlert::bigGrowth({"/srv/data", -6'000'000'000})},
                              {"data grew by 0 bytes today"},
                              {"/srv/data"}}),
    [](const auto& test) { return std::string(test.param.name); });

TEST(SpaceWatch, APostADayAgoGoesOutAgain) {
    forgetPostedAlerts();
    NotificationServer server(QStringLiteral("server-again"));
    ambrel::DesktopNotifications notifications(
        QDBusConnection::connectToBus(PrivateBus::address(), QStringLiteral("client-again")));
    AppModel model;
    model.watch().setNotifications(&notifications);
    ambrel::Settings::setLastAlert("lowSpace", QDateTime::currentDateTimeUtc().addSecs(-86'401));
    model.watch().post(TideAlert::lowSpace(1'000'000'000));
    EXPECT_TRUE(spin([&] { return server.shown.size() == 1; }));
}

struct Click {
    const char* name;
    TideAlert alert;
    QString action;
    std::optional<AppModel::Section> opens;
};

class SpaceWatchClick : public ::testing::TestWithParam<Click> {};

TEST_P(SpaceWatchClick, OpensTheSectionTheNotificationNames) {
    forgetPostedAlerts();
    NotificationServer server(QStringLiteral("server-click"));
    ambrel::DesktopNotifications notifications(
        QDBusConnection::connectToBus(PrivateBus::address(), QStringLiteral("client-click")));
    AppModel model;
    model.watch().setNotifications(&notifications);
    model.startTideWatch();
    int raised = 0;
    QObject::connect(&model, &AppModel::windowRequested, [&] { ++raised; });
    model.watch().post(GetParam().alert);
    ASSERT_TRUE(spin([&] { return server.shown.size() == 1; }));
    drain(); // the reply carries the id the click names
    server.invoke(server.shown[0].id, GetParam().action);
    if (GetParam().opens) {
        ASSERT_TRUE(spin([&] { return raised == 1; }));
        EXPECT_EQ(model.section(), *GetParam().opens);
    } else {
        drain();
        EXPECT_EQ(raised, 0);
        EXPECT_EQ(model.section(), AppModel::Section::Explorer);
    }
}

INSTANTIATE_TEST_SUITE_P(Alerts, SpaceWatchClick,
                         ::testing::Values(Click{"NearlyFull", TideAlert::lowSpace(1), "default",
                                                 AppModel::Section::Shoreline},
                                           Click{"FillingFast", TideAlert::fillingFast(2),
                                                 "default", AppModel::Section::History},
                                           Click{"OtherAction", TideAlert::lowSpace(1), "dismiss",
                                                 std::nullopt}),
                         [](const auto& test) { return std::string(test.param.name); });

TEST(SpaceWatch, NoServiceOnTheBusHandsTheTextsToTheTray) {
    forgetPostedAlerts();
    ambrel::DesktopNotifications notifications(
        QDBusConnection::connectToBus(PrivateBus::address(), QStringLiteral("client-none")));
    QStringList undelivered;
    QObject::connect(&notifications, &ambrel::DesktopNotifications::undelivered,
                     [&](const QString& title) { undelivered << title; });
    AppModel model;
    model.watch().setNotifications(&notifications);
    model.watch().post(TideAlert::fillingFast(1));
    ASSERT_TRUE(spin([&] { return undelivered.size() == 1; }));
    EXPECT_EQ(undelivered[0], QStringLiteral("Your disk is filling up fast"));
}

TEST(SpaceWatch, TheDaysRecordListsHomeAndTheApplicationFoldersPresent) {
    TempFolder disk;
    for (const auto* folder : {"home", "home/u", "opt", "opt/tool", "apps"})
        disk.folder(folder);
    brantle::PlatformProfile profile;
    profile.applicationFolders = {disk / "opt", disk / "snap", disk / "apps"};
    const struct {
        std::string scanned;
        std::vector<std::string> roots;
    } cases[] = {
        {disk.path(), {disk / "home/u", disk / "opt", disk / "apps"}},
        {disk / "home", {disk / "home/u"}},
        {disk / "opt", {}}, // home not covered: nothing is recorded
    };
    for (const auto& c : cases) {
        brantle::DiskScanner scanner(brantle::ScanOptions::forVolume(c.scanned), 1);
        EXPECT_EQ(
            ambrel::SpaceWatch::historyRoots(scanner.scan(c.scanned), disk / "home/u", profile),
            c.roots)
            << c.scanned;
    }
}

TEST(LoginItem, WritesAndRemovesTheAutostartEntry) {
    AppModel model;
    const QString file = ambrel::LoginItem::autostartFile();
    for (const bool on : {true, false}) {
        model.setOpenAtLogin(on);
        EXPECT_EQ(QFile::exists(file), on);
        EXPECT_EQ(model.openAtLogin(), on);
    }
    model.setOpenAtLogin(true);
    QFile entry(file);
    ASSERT_TRUE(entry.open(QIODevice::ReadOnly));
    EXPECT_TRUE(entry.readAll().contains("\nExec=ambrel --login\n"));
    model.setOpenAtLogin(false);
}

namespace {

const char* const tmpfsVariable = "AMBREL_WATCHED_TMPFS";

} // namespace

// Runs inside the private mount namespace that the next test makes: its tmpfs is the watched
// volume, 30 GiB at first, then remounted at 10 GiB, which the mount table's change reports.
TEST(SpaceWatchVolume, DISABLED_InsideTheNamespace) {
    const char* volume = std::getenv(tmpfsVariable);
    ASSERT_NE(volume, nullptr);
    forgetPostedAlerts();
    NotificationServer server(QStringLiteral("server-volume"));
    ambrel::DesktopNotifications notifications(
        QDBusConnection::connectToBus(PrivateBus::address(), QStringLiteral("client-volume")));
    AppModel model;
    model.watch().setNotifications(&notifications);
    model.watch().setWatchedPath(volume);
    model.startTideWatch();
    model.watch().round();
    ASSERT_TRUE(model.startupVolume().has_value());
    const auto roomy = model.startupVolume()->total;
    drain();
    EXPECT_TRUE(server.shown.empty());
    const auto remount = std::string("mount -o remount,size=10g ") + volume;
    ASSERT_EQ(std::system(remount.c_str()), 0);
    EXPECT_TRUE(spin([&] { return model.startupVolume()->total < roomy; }))
        << "the mount table's change was not seen";
    ambrel::Settings::setWatchSwitch(QStringLiteral("alertLowSpace"), false);
    model.watch().round();
    drain();
    EXPECT_TRUE(server.shown.empty()) << "an alert switched off was posted";
    ambrel::Settings::setWatchSwitch(QStringLiteral("alertLowSpace"), true);
    model.watch().round();
    ASSERT_TRUE(spin([&] { return server.shown.size() == 1; }));
    EXPECT_EQ(server.shown[0].title, QStringLiteral("Your disk is nearly full"));
}

TEST(SpaceWatchVolume, ANearlyFullWatchedVolumeIsNotifiedOnce) {
    if (::geteuid() != 0) GTEST_SKIP() << "mounting a tmpfs as the watched volume needs root";
    TempFolder mountPoint;
    QProcess inner;
    auto environment = QProcessEnvironment::systemEnvironment();
    environment.insert(QString::fromLatin1(tmpfsVariable),
                       QString::fromStdString(mountPoint.path()));
    inner.setProcessEnvironment(environment);
    inner.setProcessChannelMode(QProcess::MergedChannels);
    inner.start(
        QStringLiteral("unshare"),
        QStringList{QStringLiteral("--mount"), QStringLiteral("--propagation"),
                    QStringLiteral("private"), QStringLiteral("sh"), QStringLiteral("-c"),
                    QStringLiteral("mount -t tmpfs -o size=30g none \"$0\" && exec \"$1\" "
                                   "--gtest_also_run_disabled_tests "
                                   "--gtest_filter=SpaceWatchVolume.DISABLED_InsideTheNamespace"),
                    QString::fromStdString(mountPoint.path()),
                    QCoreApplication::applicationFilePath()});
    if (!inner.waitForStarted()) GTEST_SKIP() << "unshare is not installed";
    ASSERT_TRUE(inner.waitForFinished(120'000));
    const auto output = QString::fromUtf8(inner.readAll());
    if (inner.exitCode() != 0 && output.contains(QStringLiteral("unshare failed")))
        GTEST_SKIP() << "no private mount namespace here: " << output.toStdString();
    EXPECT_EQ(inner.exitCode(), 0) << output.toStdString();
    EXPECT_TRUE(output.contains(QStringLiteral("[  PASSED  ] 1 test"))) << output.toStdString();
}
