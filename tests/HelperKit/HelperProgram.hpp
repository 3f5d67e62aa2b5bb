#pragma once
// Starting the built helper programs for tests, over real pipes.

#include "HelperKit/HelperClient.hpp"

#include <gtest/gtest.h>

#include <memory>
#include <string>
#include <vector>

inline std::unique_ptr<helperkit::HelperClient> startHelper(std::vector<std::string> command) {
    auto client = helperkit::HelperClient::start(command);
    EXPECT_TRUE(client.has_value()) << command[0];
    return client ? std::move(*client) : nullptr;
}

/// The real helper with its start-up parameters.
inline std::unique_ptr<helperkit::HelperClient>
startRealHelper(std::vector<std::string> arguments = {}) {
    arguments.insert(arguments.begin(), AMBREL_HELPER);
    return startHelper(std::move(arguments));
}
