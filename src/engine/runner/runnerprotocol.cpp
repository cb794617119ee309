#include "engine/runner/runnerprotocol.h"

#include <corekit/exception.h>

#include <cstring>

namespace vorlan::runner {

namespace {

void AppendNumber(uint32_t number, std::string& out) {
    char bytes[sizeof number];
    std::memcpy(bytes, &number, sizeof number);
    out.append(bytes, sizeof bytes);
}

void AppendText(std::string_view text, std::string& out) {
    AppendNumber(static_cast<uint32_t>(text.size()), out);
    out.append(text);
}

class Cursor {
public:
    explicit Cursor(std::string_view bytes) : m_bytes(bytes) {}

    uint32_t Number() {
        uint32_t number = 0;
        std::memcpy(&number, TakeBytes(sizeof number).data(), sizeof number);
        return number;
    }
    String Text() { return String(std::string(TakeBytes(Number()))); }
    std::string_view TakeBytes(size_t count) {
        if (count > m_bytes.size())
            throw ParseException("A frame between the Engine and its helper is too short.");
        std::string_view const taken = m_bytes.substr(0, count);
        m_bytes.remove_prefix(count);
        return taken;
    }

private:
    std::string_view m_bytes;
};

void AppendSpec(RunSpec const& spec, std::string& out) {
    AppendNumber(static_cast<uint32_t>(spec.arguments.size()), out);
    for (String const& argument : spec.arguments)
        AppendText(argument, out);
    AppendNumber(static_cast<uint32_t>(spec.environment.size()), out);
    for (auto const& [name, value] : spec.environment) {
        AppendText(name, out);
        AppendText(value, out);
    }
    AppendText(spec.folder.Text(), out);
    AppendText(spec.user, out);
    AppendNumber((spec.ownFolder ? 1U : 0U) | (spec.mayBeRoot ? 2U : 0U), out);
}

void TakeSpec(Cursor& cursor, RunSpec& spec) {
    for (uint32_t left = cursor.Number(); left > 0; --left)
        spec.arguments.push_back(cursor.Text());
    for (uint32_t left = cursor.Number(); left > 0; --left) {
        String name = cursor.Text();
        spec.environment[name] = cursor.Text();
    }
    spec.folder = Path(cursor.Text());
    spec.user = cursor.Text();
    uint32_t const flags = cursor.Number();
    spec.ownFolder = (flags & 1) != 0;
    spec.mayBeRoot = (flags & 2) != 0;
}

} // namespace

void AppendFrame(Frame const& frame, std::string& out) {
    size_t const start = out.size();
    AppendNumber(0, out);
    out.push_back(static_cast<char>(frame.kind));
    out.append(reinterpret_cast<char const*>(frame.work.Bytes()), 16);
    switch (frame.kind) {
    case FrameKind::Start:
        AppendSpec(frame.spec, out);
        break;
    case FrameKind::Stop:
        AppendNumber(static_cast<uint32_t>(frame.graceMs), out);
        break;
    case FrameKind::Started:
        AppendNumber(static_cast<uint32_t>(frame.pid), out);
        break;
    case FrameKind::Ended:
        AppendNumber(static_cast<uint32_t>(frame.end.kind), out);
        AppendNumber(static_cast<uint32_t>(frame.end.code), out);
        AppendText(frame.end.error, out);
        break;
    }
    auto const length = static_cast<uint32_t>(out.size() - start - sizeof(uint32_t));
    std::memcpy(out.data() + start, &length, sizeof length);
}

std::optional<Frame> TakeFrame(std::string_view bytes, size_t& from) {
    uint32_t length = 0;
    if (bytes.size() - from < sizeof length)
        return std::nullopt;
    std::memcpy(&length, bytes.data() + from, sizeof length);
    if (length > k_FrameLimit)
        throw ParseException("A frame between the Engine and its helper is too long.");
    if (bytes.size() - from - sizeof length < length)
        return std::nullopt;
    Cursor cursor(bytes.substr(from + sizeof length, length));
    from += sizeof length + length;

    Frame frame;
    frame.kind = static_cast<FrameKind>(cursor.TakeBytes(1)[0]);
    std::string_view const id = cursor.TakeBytes(16);
    frame.work = UID::FromBytes(std::span<uint8_t const, 16>(reinterpret_cast<uint8_t const*>(id.data()), 16));
    switch (frame.kind) {
    case FrameKind::Start:
        TakeSpec(cursor, frame.spec);
        frame.spec.work = frame.work;
        break;
    case FrameKind::Stop:
        frame.graceMs = static_cast<int>(cursor.Number());
        break;
    case FrameKind::Started:
        frame.pid = static_cast<int>(cursor.Number());
        break;
    case FrameKind::Ended:
        frame.end.kind = static_cast<RunEnd::Kind>(cursor.Number());
        frame.end.code = static_cast<int>(cursor.Number());
        frame.end.error = cursor.Text();
        break;
    default:
        throw ParseException("A frame between the Engine and its helper is of no known kind.");
    }
    return frame;
}

} // namespace vorlan::runner
