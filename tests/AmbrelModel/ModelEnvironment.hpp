#pragma once
// One temporary home (HOME and the XDG folders) and one QCoreApplication for the whole test
// program: QSettings learns its folder once per process.

#include "AmbrelModel/AppModel.hpp"
#include "support/TempFolder.hpp"

#include <QCoreApplication>

#include <functional>

class ModelEnvironment : public ::testing::Environment {
public:
    static const TempFolder& home() {
        static TempFolder folder;
        return folder;
    }
    void SetUp() override {
        for (const auto* name : {".local", ".local/share", ".config", ".cache"})
            home().folder(name);
        setenv("HOME", home().path().c_str(), 1);
        setenv("XDG_DATA_HOME", (home() / ".local/share").c_str(), 1);
        setenv("XDG_CONFIG_HOME", (home() / ".config").c_str(), 1);
        setenv("XDG_CACHE_HOME", (home() / ".cache").c_str(), 1);
        static int argc = 1;
        static char name[] = "AmbrelModelTests";
        static char* argv[] = {name, nullptr};
        static QCoreApplication app(argc, argv);
    }
};

/// One registration however many test files include this.
inline const auto* const modelEnvironment =
    ::testing::AddGlobalTestEnvironment(new ModelEnvironment);

/// Runs the model's background tasks and their queued calls until `done` holds, or gives up
/// after many rounds (a hang would show as a failed expectation, not a stuck test).
inline bool settle(ambrel::AppModel& model, const std::function<bool()>& done) {
    for (int round = 0; round < 10'000; ++round) {
        if (done()) return true;
        model.waitForBackgroundWork();
        QCoreApplication::processEvents();
    }
    return done();
}

inline bool settleReady(ambrel::AppModel& model) {
    return settle(model, [&] { return model.phase() == ambrel::AppModel::Phase::Ready; });
}
