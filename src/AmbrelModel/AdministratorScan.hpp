#pragma once

#include "BrantleCore/FileTree.hpp"
#include "BrantleCore/ScanProgress.hpp"
#include "HelperKit/AdminHelper.hpp"

#include <QObject>
#include <QString>

#include <memory>
#include <mutex>
#include <string>
#include <thread>

namespace ambrel {

/// One scan through the administrator helper, in the background: prepares the helper (it may
/// ask for the password), has it scan, decodes the batches and stores the tree as the
/// snapshot of its root. Results come back as signals on the object's thread.
class AdministratorScan : public QObject {
    Q_OBJECT

public:
    explicit AdministratorScan(helperkit::AdminHelper::Launch launch, QObject* parent = nullptr);
    /// Cancels the running scan and waits for its thread.
    ~AdministratorScan() override;

    /// Scans `rootPath`; a scan already running is cancelled first.
    void start(const std::string& rootPath);
    /// Asks the helper to stop; `stopped` follows with "Cancelled".
    void cancel();

signals:
    /// The helper cannot be used: `needsApproval`, or `failed` with its reason.
    void unavailable(bool needsApproval, const QString& message);
    void progressed(const brantle::ScanProgress& progress);
    void finished(std::shared_ptr<const brantle::FileTree> tree);
    /// The helper was ready but the scan failed; the error's description.
    void stopped(const QString& description);

private:
    void run(const std::string& rootPath);
    /// Runs `call` on the object's thread.
    void post(std::function<void()> call);

    helperkit::AdminHelper::Launch launch_;
    std::mutex lock_;                                 ///< guards client_
    std::shared_ptr<helperkit::HelperClient> client_; ///< the helper of the running scan
    std::jthread worker_;
};

} // namespace ambrel
