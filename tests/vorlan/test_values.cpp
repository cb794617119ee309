#include "domain.h"

#include <vorlan/engine.h>
#include <vorlan/valueblock.h>
#include <vorlan/values.h>

namespace vorlan::test_values {

TEST(Values, TheTableAgreesWithItselfAndTheNames) {
    for (uint32_t i = 0; i < k_Values.size(); ++i) {
        ValueInfo const& value = k_Values[i];
        EXPECT_EQ(NameTable::Lookup(value.name), i) << value.name << " stands in the table twice";
        EXPECT_EQ(CheckValue(value.name, value.fallback), "");
    }
    EXPECT_EQ(FindValue("pRiOrItY"), &k_Values[Known(p_Priority).number]);
    EXPECT_EQ(FindValue("Scene"), nullptr);
}

TEST(Values, SaysWhyATextIsNone) {
    String const id = UID::FromName("a").ToString();
    // Empty: it is one.
    Rows<char const*, String, char const*> const cases = {
        {p_Priority, "0", ""},
        {p_Priority, " 100 ", ""},
        {p_Priority, "900", "Priority must be a whole number from 0 to 100, not \"900\"."},
        {"priority", "-1", "Priority must be"},
        {p_Priority, "7 or 8", "Priority must be"},
        {p_Priority, "", ""},
        {p_UsageLimit, "-3", ""},
        {p_FailureLimit, "99999999999999999999", "FailureLimit must be"},
        {p_StaggerStart, "1.5", ""},
        {p_StaggerStart, "nan", "StaggerStart must be a number from 0 to"},
        {p_WaitForWholeJob, "off", ""},
        {p_WaitForWholeJob, "perhaps", "WaitForWholeJob must be Yes or No"},
        {p_Created, "63900000000000", ""},
        {p_Created, "today", "Created must be a time"},
        {p_Pool, id, ""},
        {p_Pool, "lighting", "Pool must be an ID"},
        {p_IncludeEngines, id + "; {" + id + "}", ""},
        {p_IncludeEngines, id + ", render07", "IncludeEngines must be IDs"},
        {p_Range, "1-10,20", ""},
        {p_Range, "10-", "at character 4"},
        {"Scene", "anything", ""},
    };
    for (auto const& [name, text, says] : cases) {
        String const why = CheckValue(name, text);
        EXPECT_EQ(why.Empty(), *says == '\0') << name << " " << text << ": " << why;
        EXPECT_TRUE(why.Contains(says)) << why;
    }
}

std::pair<int, int> RangeOf(Product const& product, char const* name) {
    std::pair<int, int> range;
    product.GetParam(name)->Number_GetRange(range.first, range.second);
    return range;
}

TEST(Values, FormsShowWhatCounts) {
    auto const product = Product::CreateDefault(ProductClass::Sequence);
    for (size_t i = 0; i < product->GetParamCount(); ++i) {
        auto const parameter = product->GetParam(i);
        ValueInfo const* const value = FindValue(parameter->GetName());
        if (!value || parameter->GetName() == p_Range) // whose frame 1 is this Product's own
            continue;
        EXPECT_EQ(parameter->GetDefault(), value->fallback) << value->name;
        EXPECT_EQ(parameter->HasFlag(Parameter::f_NoParentUpdate), value->Has(v_UnitsOwn)) << value->name;
    }
    EXPECT_EQ(RangeOf(*product, p_Priority), std::pair(0, 100));
}

TEST(Values, AnEnginesFormIsReadAsProductsAre) {
    auto const type = Engine::TypeInfo();
    unsigned const shown = Parameter::f_Option | Parameter::f_ForEngine;
    ASSERT_GT(type->GetParamCount(), 10u);
    for (size_t i = 0; i < type->GetParamCount(); ++i) {
        auto const parameter = type->GetParam(i);
        ValueInfo const* const value = FindValue(parameter->GetName());
        ASSERT_TRUE(value && value->Has(v_OfEngine)) << parameter->GetName();
        EXPECT_EQ(parameter->Flags() & shown, shown) << value->name;
        EXPECT_EQ(parameter->HasFlag(Parameter::f_HideOnInput), !value->Has(v_Setting) && !value->Has(v_UnitsOwn))
            << value->name << ": people change what is a setting";
    }
    EXPECT_EQ(RangeOf(*type, p_EnginePriority), std::pair(0, 100));
    EXPECT_EQ(type->GetParam(p_EngineGPUDistribution)->GetChoicesCount(), 3u);
}

} // namespace vorlan::test_values
