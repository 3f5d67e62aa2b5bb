#pragma once

#include <string_view>

namespace brantle {

/// Logs the broken invariant to standard error and aborts, in every build type.
[[noreturn]] void fatal(std::string_view message);

} // namespace brantle
