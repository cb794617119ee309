#include "rendernode.h"

#include <algorithm>
#include <array>

namespace vorlan {

bool LooksLikeRenderNode(corekit::String const& machineName) {
    constexpr std::array k_Words{"render", "blade", "farm", "node", "vorlan"};
    if (machineName.FindOneOf("0123456789") == corekit::String::npos)
        return false;
    if (std::ranges::any_of(k_Words, [&](char const* word) { return machineName.ContainsNoCase(word); }))
        return true;
    return machineName.FindOneNotOf("-0123456789") == corekit::String::npos;
}

} // namespace vorlan
