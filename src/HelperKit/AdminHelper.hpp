#pragma once

#include "HelperKit/HelperClient.hpp"

#include <memory>
#include <optional>
#include <stop_token>
#include <string>
#include <vector>

namespace helperkit {

/// Makes sure the helper that answers is the one built with this application: checks that it
/// is installed, starts it (through polkit's pkexec unless already root) and compares its
/// version string with this build's, starting it again when an older one answered.
class AdminHelper {
public:
    /// The result of preparing. `needsApproval` has no cause on Linux (installing the helper
    /// and its polkit policy is the whole registration); it is kept for the application's
    /// notice.
    struct Readiness {
        enum class State { ready, needsApproval, failed };
        State state = State::ready;
        std::string message; ///< for `failed`: the reason, in the user's words

        static Readiness ready() { return {State::ready, {}}; }
        static Readiness failed(std::string message) { return {State::failed, std::move(message)}; }
        friend bool operator==(const Readiness&, const Readiness&) = default;
    };

    /// How to start the helper.
    struct Launch {
        std::string program; ///< absolute path of the helper program
        std::vector<std::string> arguments;
        bool elevate = false; ///< start it through pkexec

        /// The installed helper, through pkexec unless this process is root.
        static Launch installed();
        /// The command line: pkexec (when elevating), the program, its arguments.
        std::vector<std::string> command() const;
    };

    static constexpr int maxChecks = 3;

    explicit AdminHelper(Launch launch, std::string expected = expectedVersion());

    /// HelperIdentity::versionString of this build.
    static std::string expectedVersion();

    /// No value when the helper is installed and can be started; otherwise why not.
    std::optional<Readiness> registration() const;

    /// Registration, then the version handshake, at most `maxChecks` times. When ready, the
    /// client that answered is kept for `takeClient`, so that the scan does not start (and
    /// authorise) the helper a second time. A stop request gives up the helper being asked
    /// (pkexec may be waiting for the password) and fails at once.
    Readiness prepare(std::stop_token stop = {});

    /// The client kept by the last successful `prepare`, or null.
    std::unique_ptr<HelperClient> takeClient() { return std::move(client_); }

private:
    /// The reason pkexec gave for not starting the helper, from its exit status.
    std::optional<std::string> authenticationFailure(int status) const;

    Launch launch_;
    std::string expected_;
    std::unique_ptr<HelperClient> client_;
};

} // namespace helperkit
