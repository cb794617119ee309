#include <vorlan/outputmatcher.h>

#include <corekit/exception.h>
#include <vorlan/range.h>

#include <re2/re2.h>

#include <algorithm>
#include <array>
#include <cmath>

namespace vorlan {

namespace {

using Kind = OutputRule::Kind;

constexpr int64_t k_PatternMemory = 8 << 20;
constexpr int k_GroupLimit = 16;

struct CompiledRule {
    OutputRule rule;
    std::unique_ptr<re2::RE2> pattern;
};

using Groups = std::array<re2::StringPiece, k_GroupLimit>;

// Plain, or hours, minutes and seconds with colons between them.
double NumberIn(re2::StringPiece text) {
    double number = 0;
    String rest(text.as_string());
    for (int part = 0; part < 3 && rest.Contains(":"); ++part) {
        number = (number + rest.LeftFirst(":").Float()) * 60;
        rest = rest.RightFirst(":");
    }
    return number + rest.Float();
}

// "$1" of a note's text; "$$" is "$".
String NoteText(String const& text, Groups const& groups) {
    String note;
    for (size_t i = 0; i < text.size(); ++i) {
        if (text[i] != '$' || i + 1 == text.size()) {
            note += text[i];
            continue;
        }
        char const next = text[++i];
        if (next >= '0' && next <= '9')
            note += std::string_view(groups[static_cast<size_t>(next - '0')].data() != nullptr
                                         ? groups[static_cast<size_t>(next - '0')].as_string()
                                         : std::string());
        else
            note += next;
    }
    return note;
}

} // namespace

struct OutputMatcher::Compiled {
    std::vector<CompiledRule> rules;
};

char const* OutputRules::KindName(OutputRule::Kind kind) {
    static constexpr std::array<char const*, 9> names = {"Percent", "Step",     "Frame",   "FrameOffset", "Done",
                                                         "Total",   "Position", "Warning", "Error"};
    return names[static_cast<size_t>(kind)];
}

String CheckOutputRule(OutputRule const& rule) {
    re2::RE2::Options options;
    options.set_log_errors(false);
    options.set_max_mem(k_PatternMemory);
    re2::RE2 const pattern(re2::StringPiece(rule.pattern.data(), rule.pattern.size()), options);
    if (!pattern.ok())
        return "does not compile: " + String(pattern.error());
    int const groups = std::min(pattern.NumberOfCapturingGroups(), k_GroupLimit - 1);
    bool const hasValue = rule.kind != Kind::Warning && rule.kind != Kind::Error;
    if (rule.valueGroup < 0 || (hasValue && rule.valueGroup > groups))
        return "has " + String::From(groups) + " groups, and the value is to be group " + String::From(rule.valueGroup);
    if (rule.kind == Kind::Step && (rule.totalGroup < 0 || rule.totalGroup > groups))
        return "has " + String::From(groups) + " groups, and the total is to be group " + String::From(rule.totalGroup);
    return {};
}

OutputMatcher::OutputMatcher(OutputRules const& rules, String const& subRange)
    : m_compiled(std::make_unique<Compiled>()) {
    re2::RE2::Options options;
    options.set_log_errors(false);
    options.set_max_mem(k_PatternMemory);
    for (size_t i = 0; i < rules.rules.size(); ++i) {
        OutputRule const& rule = rules.rules[i];
        String const error = CheckOutputRule(rule);
        if (!error.Empty())
            throw ParseException("The pattern \"" + rule.pattern + "\" of output rule " + String::From(i + 1) + " (" +
                                 OutputRules::KindName(rule.kind) + ") " + error);
        m_byFrame = m_byFrame || rule.kind == Kind::Frame || rule.kind == Kind::FrameOffset || rule.kind == Kind::Done;
        m_compiled->rules.push_back(
            {rule, std::make_unique<re2::RE2>(re2::StringPiece(rule.pattern.data(), rule.pattern.size()), options)});
    }
    FrameRange range;
    if (FrameRange::Parse(subRange, range))
        range.ForEach([this](int frame) { m_frames.insert(frame); });
}

OutputMatcher::~OutputMatcher() = default;

OutputMatcher::Report OutputMatcher::Feed(std::string_view line) {
    Report report;
    line = line.substr(0, k_LineLimit);
    double const before = m_percent;
    GoOn(line);
    Groups groups;
    for (CompiledRule const& compiled : m_compiled->rules) {
        groups.fill({});
        int const wanted = std::min(compiled.pattern->NumberOfCapturingGroups() + 1, k_GroupLimit);
        if (!compiled.pattern->Match(re2::StringPiece(line.data(), line.size()), 0, line.size(), re2::RE2::UNANCHORED,
                                     groups.data(), wanted))
            continue;
        OutputRule const& rule = compiled.rule;
        if (rule.kind == Kind::Warning || rule.kind == Kind::Error) {
            String const note = rule.text.Empty() ? String(line).Trim() : NoteText(rule.text, groups);
            (rule.kind == Kind::Warning ? report.warning : report.error) = note;
            if (rule.kind == Kind::Error && m_firstError.Empty()) {
                m_firstError = note;
                m_brokenAt = rule.text.Empty() ? line.size() : 0;
            }
        } else {
            double const total = rule.kind == Kind::Step ? NumberIn(groups[static_cast<size_t>(rule.totalGroup)]) : 0;
            TakeNumber(rule.kind, NumberIn(groups[static_cast<size_t>(rule.valueGroup)]), total);
        }
    }
    report.progressChanged = m_percent > before;
    return report;
}

// Programs break long lines: in the middle of a word at the width of a terminal, or before a word, and then the next
// line begins with its blank. The note of an error goes on there.
void OutputMatcher::GoOn(std::string_view line) {
    constexpr size_t k_Width = 80;
    constexpr size_t k_LeastBroken = 50;
    constexpr size_t k_LongestNote = 1000;
    size_t const broken = std::exchange(m_brokenAt, 0);
    bool const beginsWithOneBlank = line.size() > 1 && line[0] == ' ' && line[1] != ' ';
    bool const goesOn = broken == k_Width || (broken >= k_LeastBroken && beginsWithOneBlank);
    if (line.empty() || !goesOn || m_firstError.size() + line.size() > k_LongestNote)
        return;
    m_firstError += line;
    m_brokenAt = line.size();
}

void OutputMatcher::TakeNumber(Kind kind, double value, double total) {
    switch (kind) {
    case Kind::Percent:
        SetPart(value / 100);
        break;
    case Kind::Step:
        if (total > 0)
            SetPart(value / total);
        break;
    case Kind::Total:
        if (!(m_total > 0))
            m_total = value;
        break;
    case Kind::Position:
        if (m_total > 0)
            SetPart(value / m_total);
        break;
    case Kind::Frame:
        BeginFrame(value);
        break;
    case Kind::FrameOffset:
        if (!m_frames.empty())
            BeginFrame(static_cast<double>(*m_frames.begin()) + value - 1);
        break;
    case Kind::Done:
        if (IsOwnFrame(value)) {
            m_done.insert(static_cast<int64_t>(value));
            Raise(static_cast<double>(m_done.size()) / static_cast<double>(m_frames.size()));
        }
        break;
    case Kind::Warning:
    case Kind::Error:
        break;
    }
}

bool OutputMatcher::IsOwnFrame(double frame) const {
    return std::abs(frame) < 1e12 && m_frames.count(static_cast<int64_t>(frame)) != 0;
}

// Frames are counted as they begin, so that it does not matter in which order a program takes them.
void OutputMatcher::BeginFrame(double frame) {
    if (!IsOwnFrame(frame))
        return;
    m_begun.insert(static_cast<int64_t>(frame));
    Raise(static_cast<double>(m_begun.size() - 1) / static_cast<double>(m_frames.size()));
}

void OutputMatcher::SetPart(double part) {
    part = std::clamp(part, 0.0, 1.0);
    if (m_byFrame && !m_frames.empty()) {
        size_t const before = std::max(m_done.size(), m_begun.empty() ? 0 : m_begun.size() - 1);
        part = (static_cast<double>(before) + part) / static_cast<double>(m_frames.size());
    }
    Raise(part);
}

void OutputMatcher::Raise(double part) {
    if (std::isfinite(part))
        m_percent = std::clamp(std::max(m_percent, part * 100), 0.0, 100.0);
}

} // namespace vorlan
