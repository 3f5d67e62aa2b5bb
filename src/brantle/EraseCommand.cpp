// brantle erase: Delete Immediately for scripts; returns once the deletion has finished.
#include "Command.hpp"
#include "RemovalRun.hpp"

#include "BrantleServices/Eraser.hpp"
#include "BrantleServices/TrashLedger.hpp"

namespace brantle::cli {

namespace {

int run(Arguments args);

} // namespace

const Command eraseCommand{"erase", "erase PATH... [--json]", run};

namespace {

int run(Arguments args) {
    const auto request = parsedRemoval(args, false);
    if (!request) return usageError(eraseCommand);
    RemovalRun removal(*request, true);
    auto& eraser = Eraser::standard();
    const auto outcomes = eraser.erase(removal.allowed());
    if (!outcomes) {
        removal.allFailed(outcomes.error().description());
    } else {
        for (std::size_t i = 0; i < outcomes->size(); ++i) {
            if (const auto& error = (*outcomes)[i].error)
                removal.failed(i, error->description());
            else
                removal.removed(i);
        }
    }
    eraser.waitUntilIdle();
    if (removal.movedBytes() > 0) TrashLedger::standard().addFreed(removal.movedBytes(), {});
    return removal.report(request->json);
}

} // namespace

} // namespace brantle::cli
