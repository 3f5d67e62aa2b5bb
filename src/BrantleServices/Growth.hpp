#pragma once

#include <cstdint>
#include <string>

namespace brantle {

/// How much one folder grew between two daily summaries (negative when it shrank).
struct Growth {
    std::string path;
    std::int64_t bytes = 0;

    friend bool operator==(const Growth&, const Growth&) = default;
};

} // namespace brantle
