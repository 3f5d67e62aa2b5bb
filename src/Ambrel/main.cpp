// Until the application model arrives: scans the folder given (or the home folder) and shows
// its ring; a click on a folder focuses it, a click in the centre goes up.
#include "RingItem.hpp"

#include "BrantleCore/DiskScanner.hpp"
#include "BrantleCore/ScanOptions.hpp"
#include "BrantleCore/VolumeInfo.hpp"
#include "RingKit/RingLayout.hpp"

#include <QDir>
#include <QGuiApplication>
#include <QQmlApplicationEngine>
#include <QQuickWindow>

#include <memory>
#include <thread>

int main(int argc, char* argv[]) {
    QGuiApplication app(argc, argv);
    QQmlApplicationEngine engine;
    engine.load(QUrl(QStringLiteral("qrc:/qml/Main.qml")));
    if (engine.rootObjects().isEmpty()) return 1;
    auto* window = qobject_cast<QQuickWindow*>(engine.rootObjects().first());
    auto* ring = window->findChild<ambrel::RingItem*>("ring");

    const QString path = argc > 1 ? QString::fromLocal8Bit(argv[1]) : QDir::homePath();
    brantle::DiskScanner scanner(brantle::ScanOptions::forVolume(path.toStdString()),
                                 static_cast<int>(std::thread::hardware_concurrency()));
    auto tree = std::make_shared<brantle::FileTree>(scanner.scan(path.toStdString(), 0, {}));
    auto focus = std::make_shared<brantle::NodeId>(0);
    auto show = [=] {
        ring->setSegments(
            ringkit::RingLayout::layout(*tree, *focus, 5, ringkit::RingLayout::defaultMinAngle),
            ringkit::RingMorph::parentsOf(*tree));
    };
    QObject::connect(ring, &ambrel::RingItem::segmentClicked, ring, [=](int index) {
        const auto& segment = ring->segments()[static_cast<std::size_t>(index)];
        if (!segment.kind.isNode()) return;
        if (!tree->flags(segment.kind.id).contains(brantle::NodeFlags::directory)) return;
        *focus = segment.kind.id;
        show();
    });
    QObject::connect(ring, &ambrel::RingItem::centerClicked, ring, [=] {
        if (*focus == 0) return;
        *focus = tree->parent(*focus);
        show();
    });
    show();
    if (const auto volume = brantle::VolumeInfo::containing(path.toStdString());
        volume && volume->total > 0)
        ring->setLevel(static_cast<double>(volume->used()) / static_cast<double>(volume->total));
    return app.exec();
}
