#include "engine/report/outputscanner.h"

#include <corekit/exception.h>

namespace vorlan {

namespace {

constexpr size_t k_LastLineLength = 300;

} // namespace

OutputScanner::OutputScanner(OutputRules const& rules, String subRange)
    : m_rules(rules), m_subRange(std::move(subRange)) {}

OutputScanner::~OutputScanner() = default;

OutputScanner::Found OutputScanner::Feed(std::string_view bytes) {
    Found found;
    while (!bytes.empty()) {
        size_t const end = bytes.find_first_of("\n\r");
        std::string_view const piece = bytes.substr(0, end);
        bool const whole = end != std::string_view::npos;
        bytes.remove_prefix(whole ? end + 1 : bytes.size());
        if (!m_skipping && whole && m_rest.empty()) {
            TakeLine(piece, found);
            continue;
        }
        if (!m_skipping) {
            m_rest.append(piece.substr(0, OutputMatcher::k_LineLimit - m_rest.size()));
            if (whole || m_rest.size() >= OutputMatcher::k_LineLimit) {
                TakeLine(m_rest, found);
                m_rest.clear();
                m_skipping = true;
            }
        }
        m_skipping = m_skipping && !whole;
    }
    return found;
}

OutputScanner::Found OutputScanner::Finish() {
    Found found;
    if (!m_rest.empty()) {
        TakeLine(m_rest, found);
        m_rest.clear();
    }
    return found;
}

void OutputScanner::TakeLine(std::string_view line, Found& found) {
    size_t const first = line.find_first_not_of(" \t");
    if (first == std::string_view::npos)
        return;
    m_lastLine = String(line.substr(first, k_LastLineLength)).Trim();
    MakeMatcher();
    if (!m_matcher)
        return;
    OutputMatcher::Report report = m_matcher->Feed(line);
    found.progress = found.progress || report.progressChanged;
    if (!report.warning.Empty())
        found.warning = std::move(report.warning);
}

void OutputScanner::MakeMatcher() {
    if (m_matcher || m_rules.rules.empty() || !m_ruleError.Empty())
        return;
    try {
        m_matcher = std::make_unique<OutputMatcher>(m_rules, m_subRange);
    } catch (Exception const& error) {
        m_ruleError = error.Message();
    }
}

double OutputScanner::Percent() const { return m_matcher ? m_matcher->Percent() : 0; }

String OutputScanner::FirstError() const { return m_matcher ? m_matcher->FirstError() : String(); }

} // namespace vorlan
