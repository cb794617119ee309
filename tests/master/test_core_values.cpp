// A Job's values as the Master's core uses them: by the rule that everybody else follows.

#include "corefarm.h"

#include <vorlan/launch.h>
#include <vorlan/values.h>

namespace farm::test_core_values {

// A value, what the core made of it, and another default for it.
struct Reading {
    char const* name;
    double (*read)(JobSettings const& settings);
    char const* other;
};

constexpr Reading k_Readings[] = {
    {p_Priority, [](JobSettings const& s) -> double { return s.priority; }, "70"},
    {p_PriorityBoost, [](JobSettings const& s) -> double { return s.boost; }, "3"},
    {p_CPUs, [](JobSettings const& s) -> double { return s.cpus; }, "8"},
    {p_FailureLimit, [](JobSettings const& s) -> double { return s.failureLimit; }, "5"},
    {p_UsageLimit, [](JobSettings const& s) -> double { return s.usageLimit; }, "-2"},
    {p_OvertimeKill, [](JobSettings const& s) -> double { return s.overtimeKill; }, "2.5"},
    {p_StaggerMode, [](JobSettings const& s) { return static_cast<double>(s.stagger.mode); }, "2"},
    {p_StaggerCount, [](JobSettings const& s) -> double { return s.stagger.count; }, "6"},
    {p_StaggerStart, [](JobSettings const& s) { return static_cast<double>(s.stagger.span.Milliseconds()) / 1000; },
     "30"},
    {p_FinishDisposition, [](JobSettings const& s) -> double { return s.finishDisposition; }, "0"},
    {p_PacketSize, [](JobSettings const& s) -> double { return s.packetSize; }, "4"},
};

void Check(boost::shared_ptr<Product> const& product) {
    SCOPED_TRACE(product->Name());
    CoreFarm farm;
    farm.AddEngine("e", 64);
    auto message = ProductMsg::New();
    message->text = ProductToText(*product);
    farm.Send(farm.client, message);
    JobFactory::s_JobFactory->SetProduct(product);
    UID const id = farm.Submit("a", {{p_Type, product->Type().ToString()}});
    for (bool const restarted : {false, true}) {
        if (restarted)
            farm.Restart();
        ASSERT_TRUE(farm.FindJob(id));
        JobEntry const& entry = *farm.FindJob(id);
        for (Reading const& reading : k_Readings) {
            double const shown = entry.job->GetParameterString(reading.name).Float();
            EXPECT_DOUBLE_EQ(reading.read(entry.settings), shown) << reading.name << " restarted " << restarted;
        }
        EXPECT_EQ(entry.settings.cpus, entry.job->CPUs());
        EXPECT_EQ(ExpandTemplate("$(CPUs)", *entry.job, product.get()), String::From(entry.settings.cpus));
        ASSERT_FALSE(entry.runs.empty());
        EXPECT_EQ(entry.runs.front()->cores, static_cast<unsigned>(entry.settings.cpus));
    }
    JobFactory::s_JobFactory->RemoveProduct(product->Type());
}

TEST(CoreValues, AreTheProductsDefaultsForAJobWithoutItsOwn) {
    std::vector<String> errors;
    std::vector<boost::shared_ptr<Product>> products = LoadProductFolder(FindProductFolder(), errors);
    ASSERT_GE(products.size(), 4U);
    products.push_back(Product::CreateDefault(ProductClass::Sequence));
    products.push_back(boost::make_shared<Product>("Bare", UID::FromName("bare"))); // not one parameter
    for (auto const& product : products) {
        Check(product);
        for (Reading const& reading : k_Readings) {
            if (MutableParameterInfo parameter = product->GetMutableParam(reading.name))
                parameter.SetSetting(k_SettingDefault, reading.other);
        }
        Check(product);
    }
}

TEST(CoreValues, ARenamedJobLeavesItsUnitsTheirNames) {
    CoreFarm farm;
    farm.AddEngine("e", 1);
    UID const job = farm.Submit("a", {});
    farm.SetParameter(job, p_Name, "renamed");
    farm.SetParameter(job, p_Priority, "80");
    EXPECT_EQ(farm.FindJob(job)->job->Name(), "renamed");
    EXPECT_EQ(farm.FindUnit("1")->unit->Name(), "1");
    EXPECT_EQ(farm.FindUnit("1")->unit->Priority(), 80);
}

} // namespace farm::test_core_values
