#pragma once

#include "BrantleCore/FileTree.hpp"
#include "BrantleCore/ScanProgress.hpp"
#include "HelperKit/AdminHelper.hpp"

#include <QObject>
#include <QString>

#include <functional>
#include <memory>
#include <string>
#include <vector>

namespace ambrel {

/// One scan through the administrator helper, in the background: prepares the helper (it may
/// ask for the password), has it scan, decodes the batches and stores the tree as the
/// snapshot of its root. Results come back as signals on the object's thread.
///
/// Nothing here ever waits for the helper: pkexec's password dialog may stay open for as long
/// as the user likes, and a helper may hang. A scan given up is left to end on its own thread.
class AdministratorScan : public QObject {
    Q_OBJECT

public:
    explicit AdministratorScan(helperkit::AdminHelper::Launch launch, QObject* parent = nullptr);
    /// Abandons the running scan.
    ~AdministratorScan() override;

    /// Scans `rootPath`, leaving out `excludedPaths`; a scan already running is abandoned
    /// first.
    void start(const std::string& rootPath, std::vector<std::string> excludedPaths = {});
    /// Gives the running scan up without waiting for it: the helper is told to end (pkexec
    /// still asking for the password is stopped with its request) and whatever it still
    /// sends is ignored. No signal of that scan follows.
    void abandon();

signals:
    /// The helper cannot be used: `needsApproval`, or `failed` with its reason.
    void unavailable(bool needsApproval, const QString& message);
    void progressed(const brantle::ScanProgress& progress);
    void finished(std::shared_ptr<const brantle::FileTree> tree);
    /// The helper was ready but the scan failed; the error's description.
    void stopped(const QString& description);

private:
    /// What a scan's thread shares with this object, which may be gone before the thread ends.
    struct Job;
    static void run(const std::shared_ptr<Job>& job, const helperkit::AdminHelper::Launch& launch,
                    const std::string& rootPath, const std::vector<std::string>& excludedPaths);
    /// Runs `call` on the object's thread unless the job has been abandoned by then.
    static void post(const std::shared_ptr<Job>& job, std::function<void(AdministratorScan&)> call);

    helperkit::AdminHelper::Launch launch_;
    std::shared_ptr<Job> job_;
};

} // namespace ambrel
