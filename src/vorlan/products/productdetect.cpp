// Automatic detection: what else changes when one parameter of a Job changes.

#include <corekit/path.h>
#include <vorlan/jobtemplate.h>
#include <vorlan/product.h>

#include <re2/re2.h>

#include "productjson.h"

namespace vorlan {

namespace {

constexpr int k_MatchLimit = 10;

// The captured groups by number, then the Job's values, then the Product's defaults.
class DetectValues : public TemplateValues {
public:
    DetectValues(Product const& product, OptionMap const& values, std::vector<String> groups)
        : m_product(product), m_values(values), m_groups(std::move(groups)) {}

    bool Find(std::string_view name, String& value) const override {
        if (name.size() == 1 && name[0] >= '0' && name[0] <= '9') {
            size_t const group = static_cast<size_t>(name[0] - '0');
            value = group < m_groups.size() ? m_groups[group] : String();
            return !value.Empty();
        }
        auto const found = m_values.find(name);
        auto const parameter = m_product.GetParam(String(name));
        if (found != m_values.end() && !found->second.Empty())
            value = found->second;
        else
            value = parameter ? parameter->GetDefault() : String();
        if (parameter && parameter->HasFlag(Parameter::f_Enquote))
            value = Path::Dequote(value);
        return !value.Empty();
    }

private:
    Product const& m_product;
    OptionMap const& m_values;
    std::vector<String> m_groups;
};

// Whether the rule is for this change; fills the groups.
bool Applies(DetectRule const& rule, String const& name, String const& value, std::vector<String>& groups) {
    if (rule.name.CompareNoCase(name) != 0)
        return false;
    groups = {value};
    if (rule.pattern.Empty())
        return true;
    re2::RE2::Options options;
    options.set_log_errors(false);
    re2::RE2 const pattern(re2::StringPiece(rule.pattern.data(), rule.pattern.size()), options);
    re2::StringPiece matches[k_MatchLimit];
    int const wanted = std::min(pattern.NumberOfCapturingGroups() + 1, k_MatchLimit);
    if (!pattern.ok() || !pattern.Match(re2::StringPiece(value.data(), value.size()), 0, value.size(),
                                        re2::RE2::UNANCHORED, matches, wanted))
        return false;
    groups.clear();
    for (int i = 0; i < wanted; ++i)
        groups.emplace_back(matches[i].data() != nullptr ? matches[i].as_string() : std::string());
    return true;
}

} // namespace

DetectRule SplitDetectRule(String const& key) {
    size_t const tilde = key.Find('~');
    if (tilde == String::npos)
        return {key.Trim(), {}};
    return {key.Mid(0, tilde).Trim(), key.Mid(tilde + 1).Trim()};
}

String CheckDetectRule(String const& key) {
    re2::RE2::Options options;
    options.set_log_errors(false);
    String const pattern = SplitDetectRule(key).pattern;
    re2::RE2 const compiled(re2::StringPiece(pattern.data(), pattern.size()), options);
    return compiled.ok() ? String() : String(compiled.error());
}

bool Product::AutoDetect(String const& name, OptionMap& values) const {
    OptionMap const before = values;
    String changed;
    DetectValues(*this, before, {}).Find(name, changed);
    bool any = false;
    for (auto const& [key, updates] : m_autoDetect) {
        std::vector<String> groups;
        if (!Applies(SplitDetectRule(key), name, changed, groups))
            continue;
        any = true;
        DetectValues const known(*this, before, groups);
        for (auto const& [parameter, text] : updates) {
            ExpandedTemplate const expanded = ExpandPieces(text, known);
            // A text that lacks a value says nothing.
            if (expanded.missing)
                continue;
            auto const info = GetParam(parameter);
            bool const enquote = info && info->HasFlag(Parameter::f_Enquote);
            values[parameter] = enquote ? Path::Enquote(expanded.Text()) : expanded.Text();
        }
    }
    return any;
}

} // namespace vorlan
