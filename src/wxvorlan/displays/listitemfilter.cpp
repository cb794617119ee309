#include <algorithm>
#include <string_view>
#include <wx/listitemfilter.h>

namespace {

bool IsMark(char c) { return c == '!' || c == '-'; }

bool PassesTerm(std::span<corekit::String const> itemTexts, std::string_view term) {
    bool wanted = true;
    if (term.size() > 1 && term[0] == '\\' && IsMark(term[1])) {
        term.remove_prefix(1);
    } else if (!term.empty() && IsMark(term[0])) {
        term.remove_prefix(1);
        wanted = false;
    }
    if (term.empty())
        return true;
    return wanted == std::any_of(itemTexts.begin(), itemTexts.end(),
                                 [term](corekit::String const& text) { return text.ContainsNoCase(term); });
}

} // namespace

bool ListItemPassesFilter(std::span<corekit::String const> itemTexts, std::span<corekit::String const> terms) {
    return std::all_of(terms.begin(), terms.end(),
                       [itemTexts](corekit::String const& term) { return PassesTerm(itemTexts, term); });
}
