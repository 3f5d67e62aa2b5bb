#include "HelperKit/AdminHelper.hpp"

#include "HelperKit/HelperIdentity.hpp"

#include <cstdlib>
#include <string_view>
#include <unistd.h>

namespace helperkit {

namespace {

constexpr std::string_view noAnswer = "the helper didn't respond";

/// pkexec's exit statuses when it did not start the program.
constexpr int pkexecDismissed = 126;
constexpr int pkexecNotAuthorized = 127;

bool isExecutable(const std::string& path) {
    return ::access(path.c_str(), X_OK) == 0;
}

bool onSearchPath(std::string_view name) {
    const char* path = std::getenv("PATH");
    std::string_view rest = path ? path : "/usr/bin:/bin";
    while (!rest.empty()) {
        const std::size_t colon = rest.find(':');
        const std::string_view folder = rest.substr(0, colon);
        if (!folder.empty() && isExecutable(std::string(folder) + "/" + std::string(name)))
            return true;
        rest = colon == std::string_view::npos ? std::string_view() : rest.substr(colon + 1);
    }
    return false;
}

} // namespace

AdminHelper::Launch AdminHelper::Launch::installed() {
    return {std::string(HelperIdentity::installedPath()), {}, ::geteuid() != 0};
}

std::vector<std::string> AdminHelper::Launch::command() const {
    std::vector<std::string> words;
    if (elevate) words.emplace_back("pkexec");
    words.push_back(program);
    words.insert(words.end(), arguments.begin(), arguments.end());
    return words;
}

AdminHelper::AdminHelper(Launch launch, std::string expected)
    : launch_(std::move(launch)), expected_(std::move(expected)) {}

std::string AdminHelper::expectedVersion() {
    return HelperIdentity::versionString(HelperIdentity::build());
}

std::optional<AdminHelper::Readiness> AdminHelper::registration() const {
    if (!isExecutable(launch_.program))
        return Readiness::failed("the helper isn't installed at " + launch_.program);
    if (launch_.elevate && !onSearchPath("pkexec"))
        return Readiness::failed("pkexec isn't installed");
    return std::nullopt;
}

std::optional<std::string> AdminHelper::authenticationFailure(int status) const {
    if (!launch_.elevate) return std::nullopt;
    if (status == pkexecDismissed) return "the authentication was cancelled";
    if (status == pkexecNotAuthorized) return "the authentication was refused";
    return std::nullopt;
}

AdminHelper::Readiness AdminHelper::prepare(std::stop_token stop) {
    client_.reset();
    if (auto refused = registration()) return *refused;
    // An answer with another version comes from an out-of-date helper: start the installed
    // program again, which replaces it.
    for (int check = 0; check < maxChecks && !stop.stop_requested(); ++check) {
        auto client = HelperClient::start(launch_.command());
        if (!client) return Readiness::failed(client.error().detail);
        const auto version = [&] {
            const std::stop_callback giveUp(stop, [&] { (*client)->abort(); });
            return (*client)->version();
        }();
        if (version && *version == expected_ && !stop.stop_requested()) {
            client_ = std::move(*client);
            return Readiness::ready();
        }
        const int status = (*client)->invalidate();
        if (!version) {
            if (auto reason = authenticationFailure(status)) return Readiness::failed(*reason);
            break;
        }
    }
    return Readiness::failed(std::string(noAnswer));
}

} // namespace helperkit
