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

// "$1" of a note's text; "$$" is "$".
String NoteText(String const& text, std::array<re2::StringPiece, k_GroupLimit> const& groups) {
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
    static constexpr std::array<char const*, 7> names = {"Percent", "Step",    "Frame", "FrameOffset",
                                                         "Done",    "Warning", "Error"};
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
        m_byFrame = m_byFrame || rule.kind == Kind::Frame || rule.kind == Kind::FrameOffset;
        m_compiled->rules.push_back(
            {rule, std::make_unique<re2::RE2>(re2::StringPiece(rule.pattern.data(), rule.pattern.size()), options)});
    }
    FrameRange range;
    if (FrameRange::Parse(subRange, range))
        range.ForEach([this](int frame) { m_frames.push_back(frame); });
}

OutputMatcher::~OutputMatcher() = default;

OutputMatcher::Report OutputMatcher::Feed(std::string_view line) {
    Report report;
    line = line.substr(0, k_LineLimit);
    double const before = m_percent;
    std::array<re2::StringPiece, k_GroupLimit> groups;
    for (CompiledRule const& compiled : m_compiled->rules) {
        groups.fill({});
        int const wanted = std::min(compiled.pattern->NumberOfCapturingGroups() + 1, k_GroupLimit);
        if (!compiled.pattern->Match(re2::StringPiece(line.data(), line.size()), 0, line.size(), re2::RE2::UNANCHORED,
                                     groups.data(), wanted))
            continue;
        auto const number = [&groups](int group) {
            return String(groups[static_cast<size_t>(group)].as_string()).Float();
        };
        OutputRule const& rule = compiled.rule;
        String const note = rule.text.Empty() ? String(line).Trim() : NoteText(rule.text, groups);
        switch (rule.kind) {
        case Kind::Percent:
            SetPart(number(rule.valueGroup) / 100);
            break;
        case Kind::Step:
            if (number(rule.totalGroup) > 0)
                SetPart(number(rule.valueGroup) / number(rule.totalGroup));
            break;
        case Kind::Frame:
        case Kind::Done:
            SetFrame(number(rule.valueGroup), rule.kind == Kind::Done);
            break;
        case Kind::FrameOffset:
            if (!m_frames.empty())
                SetFrame(static_cast<double>(m_frames.front()) + number(rule.valueGroup) - 1, false);
            break;
        case Kind::Warning:
            report.warning = note;
            break;
        case Kind::Error:
            report.error = note;
            if (m_firstError.Empty())
                m_firstError = note;
            break;
        }
    }
    report.progressChanged = m_percent > before;
    return report;
}

void OutputMatcher::SetFrame(double frame, bool done) {
    // Frames come in order: looking on from the present one finds the next at once.
    for (size_t i = 0; i < m_frames.size(); ++i) {
        size_t const at = (m_frameIndex + i) % m_frames.size();
        if (std::abs(static_cast<double>(m_frames[at]) - frame) < 0.5) {
            m_frameIndex = at;
            Raise(static_cast<double>(at + (done ? 1 : 0)) / static_cast<double>(m_frames.size()));
            return;
        }
    }
}

void OutputMatcher::SetPart(double part) {
    part = std::clamp(part, 0.0, 1.0);
    if (m_byFrame && !m_frames.empty())
        part = (static_cast<double>(m_frameIndex) + part) / static_cast<double>(m_frames.size());
    Raise(part);
}

void OutputMatcher::Raise(double part) {
    if (std::isfinite(part))
        m_percent = std::clamp(std::max(m_percent, part * 100), 0.0, 100.0);
}

} // namespace vorlan
