#include "rangefolder.h"

#include <corekit/exception.h>
#include <corekit/sformat.h>

#include <algorithm>
#include <charconv>

namespace vorlan {

namespace {

char const k_Example[] = "Write frames as in \"1-100\" or \"1-10,20,30-50x2\".";

String At(size_t position) { return SFormat(" at character %zu", position + 1); }

// Reads the text form, one part after the other.
class RangeReader {
public:
    explicit RangeReader(std::string_view text) : m_text(text) {}

    // Empty on success, else what is wrong.
    String Read(RangeFolder& folder) {
        uint64_t total = 0;
        while (true) {
            SkipBlanks();
            if (m_at == m_text.size())
                return String();
            FrameRange::Part part{};
            if (String error = ReadPart(part); !error.Empty())
                return error;
            total += part.count;
            if (total > FrameRange::k_MaxFrames)
                return SFormat("The range has more than %llu frames. Divide the Job into several.",
                               static_cast<unsigned long long>(FrameRange::k_MaxFrames));
            folder.Push(part);
            SkipBlanks();
            if (m_at < m_text.size() && !TakeCharacter(',') && !TakeCharacter(';'))
                return Wrong("a comma");
        }
    }

private:
    bool TakeCharacter(char c) {
        if (m_at >= m_text.size() || m_text[m_at] != c)
            return false;
        ++m_at;
        return true;
    }
    void SkipBlanks() {
        while (m_at < m_text.size() && (m_text[m_at] == ' ' || m_text[m_at] == '\t'))
            ++m_at;
    }

    String Wrong(char const* expected) const {
        return SFormat("The range should have %s", expected) + At(m_at) + ". " + k_Example;
    }

    String ReadNumber(int& number) {
        SkipBlanks();
        char const* const from = m_text.data() + m_at;
        auto const result = std::from_chars(from, m_text.data() + m_text.size(), number);
        if (result.ec == std::errc::invalid_argument)
            return Wrong("a frame number");
        if (result.ec != std::errc() || number > FrameRange::k_MaxFrame || number < -FrameRange::k_MaxFrame)
            return SFormat("The frame number%s is beyond %d.", At(m_at).c_str(), FrameRange::k_MaxFrame);
        m_at += static_cast<size_t>(result.ptr - from);
        return String();
    }

    String ReadPart(FrameRange::Part& part) {
        int first = 0;
        if (String error = ReadNumber(first); !error.Empty())
            return error;
        int last = first;
        int step = 1;
        SkipBlanks();
        if (TakeCharacter('-')) {
            if (String error = ReadNumber(last); !error.Empty())
                return error;
            SkipBlanks();
            if (TakeCharacter('x') || TakeCharacter('X')) {
                if (String error = ReadNumber(step); !error.Empty())
                    return error;
                if (step < 1)
                    return "The step of a range must be 1 or more: \"1-100x5\" is every fifth frame.";
            }
        }
        uint64_t const distance = static_cast<uint64_t>(std::abs(static_cast<int64_t>(last) - first));
        part.first = first;
        part.step = last < first ? -step : step;
        part.count = static_cast<uint32_t>(distance / static_cast<uint64_t>(step) + 1);
        return String();
    }

    std::string_view const m_text;
    size_t m_at = 0;
};

int Low(FrameRange::Part const& part) { return std::min(part.first, part.Last()); }
int High(FrameRange::Part const& part) { return std::max(part.first, part.Last()); }

} // namespace

bool FrameRange::Part::Contains(int frame) const {
    int64_t const distance = static_cast<int64_t>(frame) - first;
    if (count == 1)
        return distance == 0;
    return distance % step == 0 && distance / step >= 0 && distance / step < count;
}

FrameRange::FrameRange(String const& text) {
    String error;
    if (!Parse(text, *this, &error))
        throw ArgumentException(error);
}

bool FrameRange::Parse(std::string_view text, FrameRange& range, String* error) {
    RangeFolder folder;
    String problem;
    if (text.size() > k_MaxTextLength)
        problem = SFormat("The range is longer than %zu characters. Divide the Job into several.", k_MaxTextLength);
    else
        problem = RangeReader(text).Read(folder);
    if (!problem.Empty()) {
        if (error)
            *error = problem;
        return false;
    }
    FrameRange parsed = folder.Finish();
    if (parsed.MayOverlap())
        parsed = FromFrames(parsed.Frames());
    range = std::move(parsed);
    return true;
}

bool FrameRange::MayOverlap() const {
    std::vector<Part> parts = m_parts;
    std::sort(parts.begin(), parts.end(), [](Part const& a, Part const& b) { return Low(a) < Low(b); });
    for (size_t i = 1; i < parts.size(); ++i) {
        if (Low(parts[i]) <= High(parts[i - 1]))
            return true;
        // The widest so far decides for those that come.
        if (High(parts[i]) < High(parts[i - 1]))
            parts[i] = parts[i - 1];
    }
    return false;
}

FrameRange FrameRange::FromFrames(std::vector<int> const& frames) {
    // By frame, then by place; the first place of each frame stays.
    std::vector<std::pair<int, uint32_t>> places;
    places.reserve(frames.size());
    for (int const frame : frames)
        places.emplace_back(frame, static_cast<uint32_t>(places.size()));
    std::sort(places.begin(), places.end());
    auto const sameFrame = [](auto const& a, auto const& b) { return a.first == b.first; };
    places.erase(std::unique(places.begin(), places.end(), sameFrame), places.end());
    std::sort(places.begin(), places.end(), [](auto const& a, auto const& b) { return a.second < b.second; });
    RangeFolder folder;
    for (auto const& place : places)
        folder.Push(place.first);
    return folder.Finish();
}

int FrameRange::At(uint64_t index) const {
    for (Part const& part : m_parts) {
        if (index < part.count)
            return static_cast<int>(part.At(index));
        index -= part.count;
    }
    throw ArgumentException(
        SFormat("A range of %llu frames has no frame at that place.", static_cast<unsigned long long>(m_count)));
}

bool FrameRange::Contains(int frame) const {
    return std::any_of(m_parts.begin(), m_parts.end(), [&](Part const& part) { return part.Contains(frame); });
}

std::vector<int> FrameRange::Frames() const {
    std::vector<int> frames;
    frames.reserve(m_count);
    ForEach([&](int frame) { frames.push_back(frame); });
    return frames;
}

FrameRange FrameRange::Slice(uint64_t from, uint64_t count) const {
    RangeFolder folder;
    for (Part const& part : m_parts) {
        if (count == 0)
            break;
        if (from >= part.count) {
            from -= part.count;
            continue;
        }
        auto const taken = static_cast<uint32_t>(std::min<uint64_t>(part.count - from, count));
        folder.Push(Part{static_cast<int>(part.At(from)), part.step, taken});
        count -= taken;
        from = 0;
    }
    return folder.Finish();
}

uint64_t FrameRange::PacketCount(uint64_t size) const { return size == 0 ? 0 : m_count / size + (m_count % size != 0); }

std::vector<String> FrameRange::Packets(uint64_t size) const {
    std::vector<String> packets;
    if (size == 0)
        return packets;
    packets.reserve(PacketCount(size));
    // One walk over the parts, since a Slice for each packet would begin at the front.
    RangeFolder folder;
    uint64_t filled = 0;
    for (Part const& part : m_parts) {
        for (uint64_t at = 0; at < part.count;) {
            auto const taken = static_cast<uint32_t>(std::min(part.count - at, size - filled));
            folder.Push(Part{static_cast<int>(part.At(at)), part.step, taken});
            at += taken;
            filled += taken;
            if (filled == size) {
                packets.push_back(std::exchange(folder, RangeFolder()).Finish().Text());
                filled = 0;
            }
        }
    }
    if (filled > 0)
        packets.push_back(folder.Finish().Text());
    return packets;
}

FrameRange FrameRange::Subtract(FrameRange const& other) const {
    constexpr size_t k_FewParts = 8;
    std::vector<int> sorted;
    if (other.m_parts.size() > k_FewParts) {
        sorted = other.Frames();
        std::sort(sorted.begin(), sorted.end());
    }
    auto const isOut = [&](int frame) {
        return sorted.empty() ? other.Contains(frame) : std::binary_search(sorted.begin(), sorted.end(), frame);
    };
    RangeFolder folder;
    ForEach([&](int frame) {
        if (!isOut(frame))
            folder.Push(frame);
    });
    return folder.Finish();
}

String FrameRange::Text() const {
    String text;
    for (Part const& part : m_parts) {
        if (!text.Empty())
            text += ',';
        text += String::From(part.first);
        if (part.count == 1)
            continue;
        text += '-' + String::From(part.Last());
        if (std::abs(part.step) != 1)
            text += 'x' + String::From(std::abs(part.step));
    }
    return text;
}

} // namespace vorlan
