#include <vorlan/jobcheck.h>

#include <vorlan/job.h>
#include <vorlan/product.h>
#include <vorlan/values.h>

namespace vorlan {

String CheckJobValue(String const& name, String const& text, Product const* product) {
    auto const parameter = product ? product->GetParam(name) : nullptr;
    String const wrong = parameter ? parameter->Check(text) : String();
    if (!wrong.Empty())
        return wrong;
    ValueInfo const* const info = FindValue(name);
    return info && info->Has(v_OfJob) ? CheckValue(name, text) : String();
}

String CheckJobValues(Job const& job, Product const* product, Job const* former) {
    for (auto const& [name, text] : job.Values()) {
        String const wrong = CheckJobValue(name, text, product);
        if (!wrong.Empty() && !(former && former->Get(name, false) == text))
            return wrong;
    }
    return {};
}

bool IsJobValueName(String const& name, Product const& product) {
    ValueInfo const* const info = FindValue(name);
    return (info && info->Has(v_OfJob)) || product.GetParam(name) || product.IsFreeName(name);
}

} // namespace vorlan
