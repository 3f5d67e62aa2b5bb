#include "AmbrelModel/AdministratorScan.hpp"

#include "AmbrelModel/StoredSnapshot.hpp"
#include "BrantleCore/Snapshot.hpp"

#include <QMetaObject>

#include <mutex>
#include <stop_token>
#include <thread>

namespace ambrel {

using helperkit::AdminHelper;

struct AdministratorScan::Job {
    std::mutex lock;
    AdministratorScan* owner; ///< null once abandoned; guarded by `lock`
    std::stop_source stop;

    explicit Job(AdministratorScan* scan) : owner(scan) {}

    AdministratorScan* currentOwner() {
        const std::lock_guard guard(lock);
        return owner;
    }
};

AdministratorScan::AdministratorScan(AdminHelper::Launch launch, QObject* parent)
    : QObject(parent), launch_(std::move(launch)) {}

AdministratorScan::~AdministratorScan() {
    abandon();
}

void AdministratorScan::start(const std::string& rootPath, std::vector<std::string> excludedPaths) {
    abandon();
    job_ = std::make_shared<Job>(this);
    std::thread([job = job_, launch = launch_, rootPath, excluded = std::move(excludedPaths)] {
        run(job, launch, rootPath, excluded);
    }).detach();
}

void AdministratorScan::abandon() {
    if (!job_) return;
    {
        const std::lock_guard guard(job_->lock);
        job_->owner = nullptr;
    }
    job_->stop.request_stop();
    job_.reset();
}

void AdministratorScan::post(const std::shared_ptr<Job>& job,
                             std::function<void(AdministratorScan&)> call) {
    // Posted under the lock, so the owner is alive now; Qt drops the call if it is deleted
    // before the call runs.
    const std::lock_guard guard(job->lock);
    if (!job->owner) return;
    QMetaObject::invokeMethod(
        job->owner,
        [job, call = std::move(call)] {
            if (AdministratorScan* owner = job->currentOwner()) call(*owner);
        },
        Qt::QueuedConnection);
}

void AdministratorScan::run(const std::shared_ptr<Job>& job, const AdminHelper::Launch& launch,
                            const std::string& rootPath,
                            const std::vector<std::string>& excludedPaths) {
    const std::stop_token stop = job->stop.get_token();
    AdminHelper helper(launch);
    const auto readiness = helper.prepare(stop);
    if (readiness.state != AdminHelper::Readiness::State::ready) {
        const bool approval = readiness.state == AdminHelper::Readiness::State::needsApproval;
        const auto message = QString::fromStdString(readiness.message);
        return post(job, [approval, message](AdministratorScan& scan) {
            emit scan.unavailable(approval, message);
        });
    }
    const std::unique_ptr<helperkit::HelperClient> client = helper.takeClient();
    auto blob = [&] {
        const std::stop_callback giveUp(stop, [&] { client->abort(); });
        return client->scan(
            rootPath,
            [job](std::int64_t files, std::uint64_t bytes) {
                post(job, [files, bytes](AdministratorScan& scan) {
                    emit scan.progressed(brantle::ScanProgress{files, bytes, {}});
                });
            },
            excludedPaths);
    }();
    // Waits for the helper to end: at once when signalled, else once it sees its input close.
    client->invalidate();
    if (stop.stop_requested()) return;
    if (!blob) {
        const auto text = QString::fromStdString(blob.error().description());
        return post(job, [text](AdministratorScan& scan) { emit scan.stopped(text); });
    }
    auto contents = brantle::Snapshot::decode(*blob);
    if (!contents) {
        const auto text = QString::fromStdString(brantle::describe(contents.error()));
        return post(job, [text](AdministratorScan& scan) { emit scan.stopped(text); });
    }
    if (stop.stop_requested()) return;
    StoredSnapshot::save(contents->tree, contents->meta.fsEventID);
    auto tree = std::make_shared<const brantle::FileTree>(std::move(contents->tree));
    post(job, [tree](AdministratorScan& scan) { emit scan.finished(tree); });
}

} // namespace ambrel
