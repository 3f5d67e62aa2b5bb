#include "HelperKit/FrameCodec.hpp"

#include <cstring>
#include <type_traits>

namespace helperkit {

namespace {

/// The kind byte of each message; the order of the Message variant plus one.
enum class Kind : std::uint8_t {
    version = 1,
    scan,
    cancel,
    versionReply,
    scanReply,
    batch,
    progress,
};

/// Appends little-endian integers and length-prefixed strings.
class Writer {
public:
    template <class T> void integer(T value) {
        using U = std::make_unsigned_t<T>;
        auto bits = static_cast<U>(value);
        for (std::size_t i = 0; i < sizeof(T); ++i) {
            bytes.push_back(static_cast<std::uint8_t>(bits & 0xFF));
            if constexpr (sizeof(T) > 1) bits = static_cast<U>(bits >> 8);
        }
    }
    void string(const std::string& text) {
        integer(static_cast<std::uint32_t>(text.size()));
        raw(text.data(), text.size());
    }
    void raw(const void* data, std::size_t size) {
        const auto* first = static_cast<const std::uint8_t*>(data);
        bytes.insert(bytes.end(), first, first + size);
    }

    std::vector<std::uint8_t> bytes;
};

/// Takes fields from the front of a frame body, never reading past its end. After the first
/// field that does not fit, every further field reads as empty and `error` tells why.
class Reader {
public:
    explicit Reader(std::span<const std::uint8_t> body) : rest_(body) {}

    template <class T> T integer() {
        if (!fits(sizeof(T))) return 0;
        std::make_unsigned_t<T> bits = 0;
        for (std::size_t i = sizeof(T); i-- > 0;)
            bits = static_cast<decltype(bits)>((bits << 8) | rest_[i]);
        rest_ = rest_.subspan(sizeof(T));
        return static_cast<T>(bits);
    }
    std::string string() {
        const auto length = integer<std::uint32_t>();
        if (!fits(length)) return {};
        std::string text(reinterpret_cast<const char*>(rest_.data()), length);
        rest_ = rest_.subspan(length);
        return text;
    }
    bool atEnd() const { return rest_.empty(); }
    bool failed() const { return error_.has_value(); }
    std::vector<std::uint8_t> remainder() {
        std::vector<std::uint8_t> bytes(rest_.begin(), rest_.end());
        rest_ = {};
        return bytes;
    }
    void fail(FrameError error) {
        if (!error_) error_ = error;
    }
    std::optional<FrameError> error() const {
        if (!error_ && !rest_.empty()) return FrameError::malformed;
        return error_;
    }

private:
    bool fits(std::size_t size) {
        if (error_ || rest_.size() < size) {
            fail(FrameError::truncated);
            return false;
        }
        return true;
    }

    std::span<const std::uint8_t> rest_;
    std::optional<FrameError> error_;
};

void writeFields(Writer& out, const VersionRequest& m) {
    out.integer(m.call);
}
void writeFields(Writer& out, const ScanRequest& m) {
    out.integer(m.call);
    out.string(m.path);
    // Without exclusions the frame is the one helpers before them read.
    if (m.excludedPaths.empty()) return;
    out.integer(static_cast<std::uint32_t>(m.excludedPaths.size()));
    for (const std::string& path : m.excludedPaths)
        out.string(path);
}
void writeFields(Writer&, const CancelRequest&) {}
void writeFields(Writer& out, const VersionReply& m) {
    out.integer(m.call);
    out.string(m.version);
}
void writeFields(Writer& out, const ScanReply& m) {
    out.integer(m.call);
    out.integer(m.batches);
    out.integer(static_cast<std::uint8_t>(m.error ? 1 : 0));
    if (m.error) out.string(*m.error);
}
void writeFields(Writer& out, const Batch& m) {
    out.integer(m.offset);
    out.raw(m.bytes.data(), m.bytes.size());
}
void writeFields(Writer& out, const Progress& m) {
    out.integer(m.files);
    out.integer(m.bytes);
}

ScanReply readScanReply(Reader& in) {
    ScanReply reply;
    reply.call = in.integer<CallID>();
    reply.batches = in.integer<std::uint64_t>();
    const auto hasError = in.integer<std::uint8_t>();
    if (hasError > 1) in.fail(FrameError::malformed);
    if (hasError == 1) reply.error = in.string();
    return reply;
}

ScanRequest readScanRequest(Reader& in) {
    ScanRequest request;
    request.call = in.integer<CallID>();
    request.path = in.string();
    if (in.atEnd()) return request;
    const auto count = in.integer<std::uint32_t>();
    if (count == 0) in.fail(FrameError::malformed); // an empty list is sent as none
    // Every path takes at least its length, so a count the frame cannot hold stops early.
    for (std::uint32_t i = 0; i < count && !in.failed(); ++i)
        request.excludedPaths.push_back(in.string());
    return request;
}

Message readFields(Kind kind, Reader& in) {
    switch (kind) {
    case Kind::version:
        return VersionRequest{in.integer<CallID>()};
    case Kind::scan:
        return readScanRequest(in);
    case Kind::cancel:
        return CancelRequest{};
    case Kind::versionReply: {
        const auto call = in.integer<CallID>();
        return VersionReply{call, in.string()};
    }
    case Kind::scanReply:
        return readScanReply(in);
    case Kind::batch: {
        const auto offset = in.integer<std::uint64_t>();
        return Batch{offset, in.remainder()};
    }
    case Kind::progress: {
        const auto files = in.integer<std::int64_t>();
        return Progress{files, in.integer<std::uint64_t>()};
    }
    }
    in.fail(FrameError::unknownKind);
    return CancelRequest{};
}

std::uint32_t readLength(const std::uint8_t* bytes) {
    return static_cast<std::uint32_t>(bytes[0]) | static_cast<std::uint32_t>(bytes[1]) << 8 |
           static_cast<std::uint32_t>(bytes[2]) << 16 | static_cast<std::uint32_t>(bytes[3]) << 24;
}

} // namespace

std::string describe(FrameError error) {
    switch (error) {
    case FrameError::tooLong:
        return "frame longer than allowed";
    case FrameError::unknownKind:
        return "frame of an unknown kind";
    case FrameError::truncated:
        return "frame shorter than its fields";
    case FrameError::malformed:
        return "malformed frame";
    }
    return "bad frame";
}

std::vector<std::uint8_t> encodeFrame(const Message& message) {
    Writer out;
    out.integer(std::uint32_t{0}); // the length, filled in below
    out.integer(static_cast<std::uint8_t>(message.index() + 1));
    std::visit([&](const auto& m) { writeFields(out, m); }, message);
    const auto length = static_cast<std::uint32_t>(out.bytes.size() - frameLengthSize);
    for (std::size_t i = 0; i < frameLengthSize; ++i)
        out.bytes[i] = static_cast<std::uint8_t>(length >> (8 * i));
    return std::move(out.bytes);
}

std::expected<Message, FrameError> decodeFrameBody(std::span<const std::uint8_t> body) {
    if (body.empty()) return std::unexpected(FrameError::malformed);
    if (body.size() > maxFrameLength) return std::unexpected(FrameError::tooLong);
    const std::uint8_t kind = body[0];
    if (kind < static_cast<std::uint8_t>(Kind::version) ||
        kind > static_cast<std::uint8_t>(Kind::progress))
        return std::unexpected(FrameError::unknownKind);
    Reader in(body.subspan(1));
    Message message = readFields(static_cast<Kind>(kind), in);
    if (const auto error = in.error()) return std::unexpected(*error);
    return message;
}

void FrameDecoder::append(std::span<const std::uint8_t> bytes) {
    // Drop what was read before growing, so the buffer holds at most one frame and a chunk.
    if (start_ > 0 && start_ >= buffer_.size() / 2) {
        buffer_.erase(buffer_.begin(), buffer_.begin() + static_cast<std::ptrdiff_t>(start_));
        start_ = 0;
    }
    buffer_.insert(buffer_.end(), bytes.begin(), bytes.end());
}

std::expected<std::optional<Message>, FrameError> FrameDecoder::next() {
    const std::size_t available = buffer_.size() - start_;
    if (available < frameLengthSize) return std::nullopt;
    const std::uint32_t length = readLength(buffer_.data() + start_);
    if (length > maxFrameLength) return std::unexpected(FrameError::tooLong);
    if (available - frameLengthSize < length) return std::nullopt;
    const std::span body(buffer_.data() + start_ + frameLengthSize, length);
    start_ += frameLengthSize + length;
    auto message = decodeFrameBody(body);
    if (!message) return std::unexpected(message.error());
    return std::optional<Message>(std::move(*message));
}

} // namespace helperkit
