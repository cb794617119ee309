#include <corekit/stringtokenizer.h>

namespace corekit {

StringTokenizer::StringTokenizer(String text, String separators, char quote, char escape, EmptyTokens emptyTokens)
    : m_text(std::move(text)),
      m_separators(std::move(separators)),
      m_quote(quote),
      m_escape(escape),
      m_emptyTokens(emptyTokens) {}

bool StringTokenizer::IsEscape(size_t at) const noexcept {
    return m_escape != '\0' && m_text[at] == m_escape && at + 1 < m_text.size();
}

// The partner of the quote at `at`; npos when it has none, and then no quote
// behind it has one either.
size_t StringTokenizer::QuoteEnd(size_t at) noexcept {
    if (m_quote == '\0' || m_text[at] != m_quote || at >= m_unpairedFrom)
        return String::npos;
    for (size_t end = at + 1; end < m_text.size(); ++end) {
        if (IsEscape(end))
            ++end;
        else if (m_text[end] == m_quote)
            return end;
    }
    m_unpairedFrom = at;
    return String::npos;
}

size_t StringTokenizer::TokenEnd() noexcept {
    size_t at = m_position;
    while (at < m_text.size() && m_separators.Find(m_text[at]) == String::npos) {
        size_t const quoteEnd = QuoteEnd(at);
        if (IsEscape(at))
            ++at;
        else if (quoteEnd != String::npos)
            at = quoteEnd;
        ++at;
    }
    return at;
}

bool StringTokenizer::Next(String& token) {
    while (!m_done) {
        size_t const start = m_position;
        size_t const end = TokenEnd();
        m_done = end >= m_text.size();
        m_position = m_done ? m_text.size() : end + 1;
        if (end == start && m_emptyTokens == EmptyTokens::Skip)
            continue;
        token = m_text.Mid(start, end - start);
        return true;
    }
    return false;
}

String StringTokenizer::Plain(String const& token) const {
    StringTokenizer inner(token, {}, m_quote, m_escape);
    String plain;
    size_t quoteEnd = String::npos;
    for (size_t at = 0; at < token.size(); ++at) {
        if (inner.IsEscape(at)) {
            plain += token[++at];
            continue;
        }
        if (at == quoteEnd) {
            quoteEnd = String::npos;
            continue;
        }
        if (quoteEnd == String::npos) {
            quoteEnd = inner.QuoteEnd(at);
            if (quoteEnd != String::npos)
                continue;
        }
        plain += token[at];
    }
    return plain;
}

bool StringTokenizer::NextPlain(String& token) {
    if (!Next(token))
        return false;
    token = Plain(token);
    return true;
}

String StringTokenizer::Rest() const { return m_text.Mid(m_position); }

} // namespace corekit
