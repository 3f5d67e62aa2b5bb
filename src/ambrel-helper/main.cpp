// ambrel-helper: scans folders with administrator rights for the Ambrel application, which
// starts it through pkexec and speaks to it over its standard input and output.
#include "HelperKit/FrameChannel.hpp"
#include "HelperKit/FrameCodec.hpp"
#include "HelperKit/HelperIdentity.hpp"
#include "HelperKit/IdleExit.hpp"
#include "HelperKit/ScanService.hpp"

#include <charconv>
#include <csignal>
#include <cstdio>
#include <cstdlib>
#include <optional>
#include <string_view>
#include <unistd.h>

namespace {

constexpr std::size_t defaultBatchSize = std::size_t{1} << 20;
constexpr double defaultIdleLimit = 60;

struct Parameters {
    std::size_t batchSize = defaultBatchSize;
    double idleLimit = defaultIdleLimit; ///< seconds
};

template <class T> std::optional<T> number(std::string_view text) {
    T value{};
    const auto [end, error] = std::from_chars(text.data(), text.data() + text.size(), value);
    if (error != std::errc() || end != text.data() + text.size()) return std::nullopt;
    return value;
}

std::optional<Parameters> parse(int argc, char** argv) {
    Parameters parameters;
    for (int i = 1; i < argc; ++i) {
        const std::string_view option = argv[i];
        if (i + 1 >= argc) return std::nullopt;
        const std::string_view value = argv[++i];
        if (option == "--batch-size") {
            const auto size = number<std::size_t>(value);
            if (!size || *size < 1 || *size > helperkit::maxBatchSize) return std::nullopt;
            parameters.batchSize = *size;
        } else if (option == "--idle-limit") {
            const auto seconds = number<double>(value);
            if (!seconds || !(*seconds >= 0)) return std::nullopt;
            parameters.idleLimit = *seconds;
        } else {
            return std::nullopt;
        }
    }
    return parameters;
}

} // namespace

int main(int argc, char** argv) {
    const auto parameters = parse(argc, argv);
    if (!parameters) {
        std::fprintf(stderr, "usage: ambrel-helper [--batch-size BYTES] [--idle-limit SECONDS]\n");
        return 2;
    }
    if (::isatty(STDIN_FILENO)) {
        std::fprintf(stderr, "ambrel-helper: serves the Ambrel application over a pipe, not a "
                             "terminal\n");
        return 2;
    }
    // A client that went away makes a write fail; the service then stops its scan.
    std::signal(SIGPIPE, SIG_IGN);
    helperkit::IdleExit idle(std::chrono::duration<double>(parameters->idleLimit),
                             [] { std::_Exit(0); });
    helperkit::FrameChannel channel(STDIN_FILENO, STDOUT_FILENO);
    helperkit::ScanService service(channel, std::string(helperkit::HelperIdentity::build()),
                                   parameters->batchSize, &idle);
    service.serve();
    return 0;
}
