#include "BrantleCore/Fatal.hpp"

#include <cstdio>
#include <cstdlib>

namespace brantle {

void fatal(std::string_view message) {
    std::fprintf(stderr, "fatal: %.*s\n", static_cast<int>(message.size()), message.data());
    std::fflush(stderr);
    std::abort();
}

} // namespace brantle
