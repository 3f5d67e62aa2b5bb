#pragma once

#include "Command.hpp"

namespace brantle::cli {

/// Whether the scan arguments ask for the scan through the administrator helper.
bool asksForAdministrator(Arguments args);

/// brantle scan PATH --as-administrator [--helper PROGRAM] [--batch-size BYTES] [--json]:
/// the scan made by the helper (through pkexec unless root), reported like a direct scan plus
/// the number of batches received.
int runAdministratorScan(Arguments args);

} // namespace brantle::cli
