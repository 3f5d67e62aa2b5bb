#include "AmbrelModel/AdministratorScan.hpp"

#include "AmbrelModel/StoredSnapshot.hpp"
#include "BrantleCore/Snapshot.hpp"

#include <QMetaObject>

namespace ambrel {

using helperkit::AdminHelper;

AdministratorScan::AdministratorScan(AdminHelper::Launch launch, QObject* parent)
    : QObject(parent), launch_(std::move(launch)) {}

AdministratorScan::~AdministratorScan() {
    cancel();
    if (worker_.joinable()) worker_.join();
}

void AdministratorScan::start(const std::string& rootPath) {
    cancel();
    if (worker_.joinable()) worker_.join();
    worker_ = std::jthread([this, rootPath] { run(rootPath); });
}

void AdministratorScan::cancel() {
    const std::lock_guard lock(lock_);
    if (client_) client_->cancel();
}

void AdministratorScan::post(std::function<void()> call) {
    QMetaObject::invokeMethod(this, std::move(call), Qt::QueuedConnection);
}

void AdministratorScan::run(const std::string& rootPath) {
    AdminHelper helper(launch_);
    const auto readiness = helper.prepare();
    if (readiness.state != AdminHelper::Readiness::State::ready) {
        const bool approval = readiness.state == AdminHelper::Readiness::State::needsApproval;
        const auto message = QString::fromStdString(readiness.message);
        return post([this, approval, message] { emit unavailable(approval, message); });
    }
    std::shared_ptr<helperkit::HelperClient> client = helper.takeClient();
    {
        const std::lock_guard lock(lock_);
        client_ = client;
    }
    auto blob = client->scan(rootPath, [this](std::int64_t files, std::uint64_t bytes) {
        post([this, files, bytes] { emit progressed(brantle::ScanProgress{files, bytes, {}}); });
    });
    {
        const std::lock_guard lock(lock_);
        client_.reset();
    }
    client->invalidate();
    if (!blob) {
        const auto text = QString::fromStdString(blob.error().description());
        return post([this, text] { emit stopped(text); });
    }
    auto contents = brantle::Snapshot::decode(*blob);
    if (!contents) {
        const auto text = QString::fromStdString(brantle::describe(contents.error()));
        return post([this, text] { emit stopped(text); });
    }
    StoredSnapshot::save(contents->tree, contents->meta.fsEventID);
    auto tree = std::make_shared<const brantle::FileTree>(std::move(contents->tree));
    post([this, tree] { emit finished(tree); });
}

} // namespace ambrel
