#pragma once

#include "AmbrelModel/CleanupList.hpp"
#include "BrantleServices/DeletionGuard.hpp"
#include "BrantleServices/Eraser.hpp"
#include "BrantleServices/TrashLedger.hpp"

#include <vector>

namespace ambrel {

/// What a removal run produced: the result for the user and, for a move to the Trash, the
/// ledger entries still to be recorded on the main thread.
struct RemovalOutcome {
    TrashResult result;
    std::vector<brantle::TrashLedger::Entry> ledgerEntries;
};

/// Screens the items again with a fresh guard and moves the allowed ones to the Trash or hands
/// them to the eraser; one item's failure does not stop the others. Blocks, so run it off the
/// main thread.
RemovalOutcome removeStaged(std::vector<StagedItem> items, bool permanent,
                            const brantle::DeletionGuard& guard, brantle::Eraser& eraser);

} // namespace ambrel
