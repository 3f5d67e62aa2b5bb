#pragma once

#include <cstdint>
#include <string>

namespace brantle {

/// The space an item takes on its volume, measured relative to its folder's descriptor.
namespace ItemSize {

/// Allocated bytes of the entry `name` of an open folder and of everything inside it on the
/// same mount, never following links. Unreadable parts count as nothing; folders nested more
/// than 256 deep are not entered.
std::uint64_t allocated(int folder, const std::string& name);

} // namespace ItemSize

} // namespace brantle
