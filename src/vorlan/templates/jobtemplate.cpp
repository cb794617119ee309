#include <vorlan/jobtemplate.h>

#include <corekit/exception.h>
#include <corekit/path.h>

#include <algorithm>

namespace vorlan {

namespace {

constexpr size_t k_PadLimit = 64;

bool IsEscaped(std::string_view text, size_t at) {
    return text[at] == '$' && at + 1 < text.size() && std::string_view("$[]|)").find(text[at + 1]) != text.npos;
}

bool OpensReference(std::string_view text, size_t at) {
    return text[at] == '$' && at + 1 < text.size() && text[at + 1] == '(';
}

// For each "$(" and "[" of a text where its partner stands; npos for one that has none. Found in one pass, so that
// a text full of open brackets costs no more than another.
std::vector<size_t> FindPartners(std::string_view text) {
    std::vector<size_t> partners(text.size(), std::string_view::npos);
    std::vector<size_t> open;
    for (size_t i = 0; i < text.size(); ++i) {
        if (IsEscaped(text, i)) {
            ++i;
        } else if (OpensReference(text, i)) {
            open.push_back(i++);
        } else if (text[i] == '[') {
            open.push_back(i);
        } else if (!open.empty() && text[i] == (text[open.back()] == '[' ? ']' : ')')) {
            partners[open.back()] = i;
            open.pop_back();
        }
    }
    return partners;
}

String PathPart(String const& part, String const& value) {
    Path const path(value);
    if (part == "leaf")
        return path.Leaf();
    if (part == "stem")
        return path.Stem();
    if (part == "folder")
        return path.Branch();
    return path.Extension().StartsWith(".") ? path.Extension().Mid(1) : path.Extension();
}

String Padded(String const& value, size_t width) {
    bool const negative = value.StartsWith("-");
    String digits = negative ? value.Mid(1) : value;
    width = std::min(width, k_PadLimit);
    if (digits.size() < width)
        digits = String(width - digits.size(), '0') + digits;
    return negative ? "-" + digits : digits;
}

// What one text and all that it expands may use up together.
struct Budget {
    size_t length = 0;
    size_t references = 0;
    int level = 0;
};

class Expander {
public:
    Expander(std::string_view text, TemplateValues const& values, Budget& budget)
        : m_text(text), m_partners(FindPartners(text)), m_values(values), m_budget(budget) {}

    ExpandedTemplate Run() {
        Scope scope;
        Expand(0, m_text.size(), 0, scope);
        return {std::move(scope.pieces), scope.missing};
    }

private:
    struct Scope {
        std::vector<TemplatePiece> pieces;
        bool missing = false;
        bool refers = false;

        void Add(std::string_view text, bool isValue, String const& name = String()) {
            if (text.empty())
                return;
            if (pieces.empty() || pieces.back().isValue || isValue)
                pieces.push_back({String(text), isValue, name});
            else
                pieces.back().text += text;
        }
        void Add(Scope const& inner) {
            for (TemplatePiece const& piece : inner.pieces)
                Add(piece.text, piece.isValue, piece.name);
        }
    };

    void Count(size_t length) {
        m_budget.length += length;
        if (m_budget.length > k_TemplateLengthLimit)
            throw ArgumentException("The text \"" + Start() + "\" grows beyond " + String::From(k_TemplateLengthLimit) +
                                    " bytes. Shorten it or the values it names.");
    }

    String Start() const { return String(m_text.substr(0, 60)) + (m_text.size() > 60 ? "..." : ""); }

    void Expand(size_t from, size_t to, int depth, Scope& scope) {
        if (depth > k_TemplateDepthLimit)
            throw ArgumentException("The text \"" + Start() + "\" nests deeper than " +
                                    String::From(k_TemplateDepthLimit) + " levels. Simplify it.");
        for (size_t i = from; i < to;) {
            size_t const partner = m_partners[i];
            if (IsEscaped(m_text, i) && i + 1 < to) {
                AddLiteral(m_text.substr(i + 1, 1), scope);
                i += 2;
            } else if (partner < to && m_text[i] == '[') {
                ExpandBracket(i + 1, partner, depth + 1, scope);
                i = partner + 1;
            } else if (partner < to) {
                if (!ExpandReference(i + 2, partner, depth + 1, scope))
                    AddLiteral(m_text.substr(i, partner + 1 - i), scope);
                i = partner + 1;
            } else {
                size_t const next = std::min(m_text.find_first_of("$[", i + 1), to);
                AddLiteral(m_text.substr(i, next - i), scope);
                i = next;
            }
        }
    }

    void AddLiteral(std::string_view text, Scope& scope) {
        Count(text.size());
        scope.Add(text, false);
    }

    void ExpandBracket(size_t from, size_t to, int depth, Scope& scope) {
        Scope inner;
        Expand(from, to, depth, inner);
        if (!inner.refers) {
            AddLiteral("[", scope);
            scope.Add(inner);
            AddLiteral("]", scope);
            return;
        }
        scope.refers = true;
        if (!inner.missing)
            scope.Add(inner);
    }

    // False for something that is no reference.
    bool ExpandReference(size_t from, size_t to, int depth, Scope& scope) {
        std::string_view const content = m_text.substr(from, to - from);
        size_t const nameEnd = std::min(content.find_first_of(":=!?"), content.size());
        String const name = String(content.substr(0, nameEnd)).Trim();
        if (name.Empty())
            return false;
        if (++m_budget.references > k_TemplateReferenceLimit)
            throw ArgumentException("The text \"" + Start() + "\" refers to more than " +
                                    String::From(k_TemplateReferenceLimit) + " values. Shorten it.");
        scope.refers = true;
        String value;
        bool const found = m_values.Find(name, value);
        if (nameEnd < content.size() && content[nameEnd] != ':')
            return ExpandCondition(name, value, from + nameEnd, to, depth, scope);
        if (nameEnd < content.size() && !Modify(content.substr(nameEnd + 1), value))
            return false;
        if (!found || value.Empty())
            scope.missing = true;
        Count(value.size());
        scope.Add(value, true, name);
        return true;
    }

    bool ExpandCondition(String const& name, String const& value, size_t at, size_t to, int depth, Scope& scope) {
        size_t const question = m_text.substr(0, to).find('?', at);
        if (question == std::string_view::npos)
            return false;
        std::string_view test = m_text.substr(at, question - at);
        bool holds = false;
        if (test.empty())
            holds = m_values.IsTrue(name, value);
        else if (test.starts_with("!="))
            holds = value.CompareNoCase(test.substr(2)) != 0;
        else if (test.starts_with("="))
            holds = value.CompareNoCase(test.substr(1)) == 0;
        else
            return false;
        size_t const bar = FindBar(question + 1, to);
        if (holds)
            Expand(question + 1, bar, depth, scope);
        else if (bar < to)
            Expand(bar + 1, to, depth, scope);
        return true;
    }

    // The "|" that parts the two texts of a condition, not one of a text inside; `to` when there is none.
    size_t FindBar(size_t from, size_t to) const {
        for (size_t i = from; i < to; ++i) {
            if (IsEscaped(m_text, i))
                ++i;
            else if (m_partners[i] < to)
                i = m_partners[i];
            else if (m_text[i] == '|')
                return i;
        }
        return to;
    }

    bool Modify(std::string_view modifiers, String& value) {
        for (;;) {
            size_t const colon = modifiers.find(':');
            if (!ModifyOnce(String(modifiers.substr(0, colon)).Trim(), value))
                return false;
            if (colon == std::string_view::npos)
                return true;
            modifiers.remove_prefix(colon + 1);
        }
    }

    bool ModifyOnce(String const& modifier, String& value) {
        if (modifier == "leaf" || modifier == "stem" || modifier == "folder" || modifier == "ext")
            value = PathPart(modifier, value);
        else if (modifier == "lower")
            value = value.Lower();
        else if (modifier == "upper")
            value = value.Upper();
        else if (modifier == "trim")
            value = value.Trim();
        else if (modifier.StartsWith("pad="))
            value = value.Empty() ? value : Padded(value, PadWidth(modifier.Mid(4)));
        else if (modifier == "expand")
            value = ExpandedAgain(value);
        else
            return false;
        return true;
    }

    String ExpandedAgain(String const& value) {
        if (m_budget.level == k_TemplateExpandLimit)
            throw ArgumentException("The text \"" + Start() + "\" expands values inside values more than " +
                                    String::From(k_TemplateExpandLimit) + " times. Does a value name itself?");
        ++m_budget.level;
        String const text = Expander(value, m_values, m_budget).Run().Text();
        --m_budget.level;
        return text;
    }

    size_t PadWidth(String const& width) {
        if (width.FindOneNotOf("0123456789") == String::npos)
            return static_cast<size_t>(width.Uint());
        String other;
        m_values.Find(width, other);
        return other.size();
    }

    std::string_view m_text;
    std::vector<size_t> m_partners;
    TemplateValues const& m_values;
    Budget& m_budget;
};

class FunctionValues : public TemplateValues {
public:
    using Function = std::function<bool(std::string_view, String&)>;
    explicit FunctionValues(Function const& find) : m_find(find) {}
    bool Find(std::string_view name, String& value) const override { return m_find(name, value); }

private:
    Function const& m_find;
};

} // namespace

bool TemplateValues::IsTrue(std::string_view, String const& value) const { return !value.Empty() && value.Bool(true); }

String ExpandedTemplate::Text() const {
    String text;
    for (TemplatePiece const& piece : pieces)
        text += piece.text;
    return text;
}

ExpandedTemplate ExpandPieces(String const& text, TemplateValues const& values) {
    Budget budget;
    return Expander(text, values, budget).Run();
}

String ExpandTemplate(String const& text, TemplateValues const& values) { return ExpandPieces(text, values).Text(); }

String ExpandTemplate(String const& text, std::function<bool(std::string_view, String&)> const& find) {
    return ExpandPieces(text, FunctionValues(find)).Text();
}

} // namespace vorlan
