#include "HelperKit/FrameChannel.hpp"

#include <array>
#include <cerrno>
#include <cstring>
#include <poll.h>
#include <unistd.h>

namespace helperkit {

namespace {

bool writeAll(int fd, std::span<const std::uint8_t> bytes) {
    while (!bytes.empty()) {
        const ssize_t written = ::write(fd, bytes.data(), bytes.size());
        if (written < 0 && errno == EINTR) continue;
        if (written <= 0) return false;
        bytes = bytes.subspan(static_cast<std::size_t>(written));
    }
    return true;
}

/// Waits until `fd` has bytes (or is closed); false when `stop` became readable first.
bool waitForInput(int fd, int stop) {
    if (stop < 0) return true;
    std::array<pollfd, 2> watched{pollfd{fd, POLLIN, 0}, pollfd{stop, POLLIN, 0}};
    while (::poll(watched.data(), watched.size(), -1) < 0) {
        if (errno != EINTR) return true; // let the read report the failure
    }
    return watched[1].revents == 0;
}

} // namespace

bool FrameChannel::send(const Message& message) {
    const std::vector<std::uint8_t> frame = encodeFrame(message);
    const std::lock_guard lock(sending_);
    if (broken_) return false;
    broken_ = !writeAll(output_, frame);
    return !broken_;
}

std::expected<Message, std::string> FrameChannel::receive(int stop) {
    std::array<std::uint8_t, std::size_t{64} * 1024> chunk;
    for (;;) {
        auto next = decoder_.next();
        if (!next) return std::unexpected(describe(next.error()));
        if (auto& message = *next; message.has_value()) return std::move(*message);
        if (!waitForInput(input_, stop)) return std::unexpected("the connection was closed");
        const ssize_t n = ::read(input_, chunk.data(), chunk.size());
        if (n < 0 && errno == EINTR) continue;
        if (n < 0) return std::unexpected(std::string(std::strerror(errno)));
        if (n == 0) return std::unexpected("the connection was closed");
        decoder_.append(std::span(chunk.data(), static_cast<std::size_t>(n)));
    }
}

} // namespace helperkit
