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

TEST(CoreValues, ThatAreNoneAreRefusedWithTheReason) {
    CoreFarm farm;
    UID const taken = farm.Submit("taken", {{p_Note, "as it is"}});
    Rows<char const*, String, String> const cases = {
        {p_Priority, "900", "Priority must be a whole number from 0 to 100, not \"900\"."},
        {p_PacketSize, "abc", "PacketSize must be a whole number"},
        {p_StaggerMode, "5", "StaggerMode must be one of 0 (Work)"},
        {p_WaitForJobID, taken.ToString().Mid(0, 8), "WaitForJobID must be IDs"},
        {p_WaitForWholeJob, "perhaps", "WaitForWholeJob must be Yes or No"},
    };
    for (auto const& [name, value, reason] : cases) {
        SCOPED_TRACE(name);
        auto const isRefused = [&farm, &reason](size_t count) {
            auto const told = farm.Sent<RefusedMsg>(farm.client);
            ASSERT_EQ(told.size(), count);
            EXPECT_EQ(told.back()->reason.Mid(0, reason.size()), reason);
        };
        UID const id = farm.Submit("bad", {{name, value}});
        EXPECT_FALSE(farm.FindJob(id));
        isRefused(1);
        farm.SetParameter(taken, name, value);
        isRefused(1);
        farm.Submit("taken", {{name, value}});
        isRefused(1);
    }
    EXPECT_EQ(farm.FindJob(taken)->job->Note(), "as it is");
}

TEST(CoreValues, ASubmissionThatComesAgainIsAnsweredAsTheFirst) {
    CoreFarm farm;
    auto const job = boost::make_shared<Job>(UID(true));
    job->Set(p_Type, farm.TypeOf(ProductClass::Sequence).ToString());
    auto const message = JobMsg::Create(job, UID(true));
    farm.Send(farm.client, message);
    ASSERT_TRUE(farm.FindJob(job->id));
    uint64_t const number = farm.FindJob(job->id)->number;
    farm.SetParameter(job->id, p_Status, String::From(static_cast<int>(UserCanceled)));
    farm.Send(farm.client, message);
    EXPECT_EQ(farm.FindJob(job->id)->number, number);
    EXPECT_TRUE(farm.FindJob(job->id)->settings.IsFinished()) << "it does not run twice";
    auto const gone = DeleteJobMsg::New();
    gone->job = job->id;
    farm.Send(farm.client, gone);
    farm.Send(farm.client, message);
    EXPECT_FALSE(farm.FindJob(job->id));
    EXPECT_TRUE(farm.Sent<RefusedMsg>(farm.client).empty());
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
