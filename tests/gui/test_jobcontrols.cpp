// The controls that know Products and Jobs.
#include "guitest.h"

#include <wx/jobcommandmenu.h>
#include <wx/jobselector.h>
#include <wx/productchoice.h>
#include <wx/wxvtextctrl.h>

namespace vorlan::test_jobcontrols {

// Products in the factory for one test.
struct KnownProducts {
    KnownProducts() { JobFactory::s_JobFactory->RemoveProduct(UID::Null); }
    ~KnownProducts() { JobFactory::s_JobFactory->RemoveProduct(UID::Null); }
    boost::shared_ptr<Product> Add(char const* name, char const* type) {
        auto const product = boost::make_shared<Product>(name, UID::FromName(type));
        JobFactory::s_JobFactory->SetProduct(product);
        return product;
    }
};

void AddCommand(Product& product, char const* name, unsigned flags, char const* itemizer = "",
                char const* restriction = "") {
    boost::shared_ptr<Command> const command = product.AddCommand(static_cast<int>(flags));
    command->SetName(name);
    command->SetItemizer(itemizer);
    command->SetRestrictionName(restriction);
}

boost::shared_ptr<Job> NewJob(Product const& product, char const* range = "1-3") {
    boost::shared_ptr<Job> const job = JobFactory::s_JobFactory->CreateJob(product.Type());
    job->Set(p_Range, range);
    return job;
}

// "A | B(1 2) |": the labels, separators as bars, sub menus in brackets.
std::string Shape(wxMenu const& menu) {
    std::string shape;
    for (wxMenuItem const* item : menu.GetMenuItems()) {
        shape += shape.empty() ? "" : " ";
        shape += item->IsSeparator() ? "|" : item->GetItemLabelText().ToStdString();
        if (item->GetSubMenu())
            shape += "(" + Shape(*item->GetSubMenu()) + ")";
        if (!item->IsSeparator() && !item->IsEnabled())
            shape += "-";
    }
    return shape;
}

constexpr unsigned k_All = Command::f_ForJobs | Command::f_ForWork | Command::f_ForHistory;
constexpr unsigned k_Line = k_All | Command::f_Separator;

// NotedMenu notes what it would do.
struct NotedMenu : JobCommandMenu {
    using JobCommandMenu::JobCommandMenu;
    std::string noted;
    bool PreProcessCommand(String const& label) override { return label == "Mine"; }
    void DoProcessCommand(String const& command, String const& args) override {
        noted += command.Str() + "[" + args.Str() + "]";
    }
};

TEST(JobCommandMenu, OffersWhatTheProductsOfTheJobsHave) {
    KnownProducts known;
    auto const paint = known.Add("Paint", "paint");
    AddCommand(*paint, "", k_Line);
    AddCommand(*paint, "View & Frame", k_All, "Frames");
    AddCommand(*paint, "", k_Line);
    AddCommand(*paint, "", k_Line);
    AddCommand(*paint, "Output", Command::f_ForWork);
    AddCommand(*paint, "Play", k_All);
    AddCommand(*paint, "Secret", k_All, "", "Secrets");
    AddCommand(*paint, "", k_Line);
    auto const mix = known.Add("Mix", "mix");
    AddCommand(*mix, "Play", k_All);
    AddCommand(*mix, "Listen", Command::f_ForJobs);
    auto const a = NewJob(*paint, "1-3");
    auto const b = NewJob(*paint, "2-9");
    auto const c = NewJob(*mix);
    for (auto const& [jobs, kind, shape] : Rows<JobCommandMenu::Jobs, Command::FLAG, char const*>{
             {{}, Command::f_ForJobs, ""},
             {{a}, Command::f_ForJobs, "View & Frame(1 2 3) | Play"},
             {{a, b}, Command::f_ForJobs, "View & Frame(2 3) | Play"},
             {{a}, Command::f_ForWork, "View & Frame(1 2 3) | Output Play"},
             {{c, a}, Command::f_ForJobs, "Play Listen | View & Frame(1 2 3)"},
             {{c}, Command::f_ForHistory, "Play"},
         }) {
        wxMenu menu;
        JobCommandMenu commands([](String const& name) { return name == "Secrets"; });
        commands.Fill(menu, jobs, kind);
        EXPECT_EQ(Shape(menu), shape);
    }
    wxMenu menu;
    JobCommandMenu commands({}, 500, 502);
    EXPECT_EQ(commands.Fill(menu, {a, b, c}, Command::f_ForJobs), 3u) << "no more ids";
    EXPECT_EQ(Shape(menu), "View & Frame(2 3) | Play");
    JobCommandMenu::Entry const* const entry = commands.Find(501);
    ASSERT_TRUE(entry);
    EXPECT_EQ(entry->command, "View & Frame");
    EXPECT_EQ(entry->item, "3");
    EXPECT_EQ(entry->products, std::vector<UID>{paint->Type()});
    EXPECT_EQ(commands.Find(502)->products.size(), 2u);
    EXPECT_FALSE(commands.Find(503));
}

TEST(JobCommandMenu, ManyItemsStandInPieces) {
    KnownProducts known;
    auto const paint = known.Add("Paint", "paint");
    AddCommand(*paint, "View", k_All, "Frames");
    wxMenu menu;
    JobCommandMenu commands;
    EXPECT_EQ(commands.Fill(menu, NewJob(*paint, "1-100"), Command::f_ForJobs), 100u);
    wxMenu const* const pieces = menu.FindItemByPosition(0)->GetSubMenu();
    ASSERT_TRUE(pieces);
    ASSERT_EQ(pieces->GetMenuItemCount(), 3u);
    EXPECT_EQ(pieces->FindItemByPosition(2)->GetItemLabelText(), "81 - 100");
}

TEST(JobCommandMenu, DoesWhatAnItemStandsFor) {
    KnownProducts known;
    auto const paint = known.Add("Paint", "paint");
    AddCommand(*paint, "View", k_All, "Frames");
    wxMenu menu;
    NotedMenu commands({}, 600);
    for (char const* label : {"", "DISABLED:Group By:", "Mine", "", ""})
        commands.DoInsertCommand(menu, label, label, "help");
    commands.Fill(menu, NewJob(*paint, "7"), Command::f_ForHistory);
    EXPECT_EQ(Shape(menu), "Group By:- Mine | View(7)");
    EXPECT_TRUE(commands.ProcessCommand(601));
    EXPECT_EQ(commands.noted, "") << "done before";
    EXPECT_TRUE(commands.ProcessCommand(602));
    EXPECT_EQ(commands.noted, "View[7]");
    EXPECT_FALSE(commands.ProcessCommand(603));
    EXPECT_TRUE(menu.IsChecked(commands.DoInsertCommand(menu, "Group by Work", "", "", JobCommandMenu::Mark::On)));
    EXPECT_FALSE(menu.IsChecked(commands.DoInsertCommand(menu, "By Engine", "", "", JobCommandMenu::Mark::Off)));
    commands.Clear();
    EXPECT_FALSE(commands.ProcessCommand(602));
}

using JobControls = WindowTest;

TEST_F(JobControls, ProductsStandByNameAndKeepTheSelection) {
    KnownProducts known;
    known.Add("mix", "mix");
    known.Add("Paint", "paint");
    known.Add("Archive", "archive");
    known.Add("Paint", "another paint");
    ProductChoice choice(&Frame(), wxID_ANY, [](Product const& product) { return product.Name() != "Archive"; });
    ASSERT_EQ(choice.GetCount(), 3u);
    EXPECT_EQ(choice.GetString(0), "mix");
    EXPECT_NE(choice.GetString(1), choice.GetString(2));
    EXPECT_EQ(choice.GetProduct(), UID());
    EXPECT_FALSE(choice.SelectProduct(UID::FromName("archive")));
    EXPECT_TRUE(choice.SelectProduct(UID::FromName("paint")));
    known.Add("Bake", "bake");
    choice.Fill();
    EXPECT_EQ(choice.GetCount(), 4u);
    EXPECT_EQ(choice.GetProduct(), UID::FromName("paint"));
    JobFactory::s_JobFactory->RemoveProduct(UID::FromName("paint"));
    choice.Fill();
    EXPECT_EQ(choice.GetSelection(), wxNOT_FOUND);
    EXPECT_EQ(choice.GetProduct(99), UID());
}

TEST(FindJobs, EveryWordCountsAndBeginningsComeFirst) {
    std::vector<JobOffer> const offers = {{UID::FromName("0"), "old_SC010_beauty", "light01"},
                                          {UID::FromName("1"), "SC010_beauty", "fx03"},
                                          {UID::FromName("2"), "sc010_crypto", "light01"},
                                          {UID::FromName("3"), "turntable", ""}};
    using Indices = std::vector<size_t>;
    Rows<char const*, Indices> const cases = {
        {"", {0, 1, 2, 3}},       {"SC010", {1, 2, 0}},    {" sc010 ", {1, 2, 0}}, {"beauty", {0, 1}},
        {"light01 SC", {0, 2}},   {"sc010_b fx", {1}},     {"none", {}},           {"table", {3}},
        {"SC010_beauty", {1, 0}}, {"beauty turntable", {}}};
    for (auto const& [typed, found] : cases)
        EXPECT_EQ(FindJobs(offers, typed, 10), found) << typed;
    EXPECT_EQ(FindJobs(offers, "SC010", 2), (Indices{1, 2}));
}

TEST_F(JobControls, AJobIsFoundByTypingAndTakenByKeys) {
    UID const beauty = UID::FromName("beauty");
    UID const crypto = UID::FromName("crypto");
    UID const own = UID::FromName("own");
    auto* const page = new wxPanel(&Frame());
    auto* const selector = new JobSelector(page, [&] {
        return std::vector<JobOffer>{
            {beauty, "SC010_beauty", "a"}, {own, "SC010_own", ""}, {crypto, "SC010_crypto", ""}};
    });
    selector->SetSize(10, 10, 300, selector->GetBestSize().y);
    selector->Layout();
    int chosen = 0;
    page->Bind(
        wxEVT_CHOICE, [&chosen](wxCommandEvent&) { ++chosen; }, selector->GetId());
    Show();
    Focus(selector->Text());
    selector->Fill(own);
    selector->SelectJob(beauty);
    EXPECT_EQ(selector->Text()->GetValue(), "SC010_beauty");
    selector->Text()->SelectAll();
    Type("sc010");
    EXPECT_TRUE(PumpUntil([&] {
        return selector->Shown() == std::vector<UID>{beauty, crypto};
    })) << "never the Job itself";
    EXPECT_EQ(selector->GetJob(), beauty) << "typing chooses nothing";
    Press(WXK_ESCAPE);
    EXPECT_EQ(selector->Text()->GetValue(), "SC010_beauty");
    EXPECT_TRUE(selector->Shown().empty());
    selector->Text()->SelectAll();
    Type("cry");
    Press(WXK_RETURN);
    EXPECT_TRUE(PumpUntil([&] { return selector->GetJob() == crypto; }));
    EXPECT_EQ(selector->Text()->GetValue(), "SC010_crypto");
    EXPECT_EQ(chosen, 1);
    Press(WXK_DOWN);
    Press(WXK_UP);
    Press(WXK_RETURN);
    EXPECT_TRUE(PumpUntil([&] { return selector->GetJob() == beauty; })) << "the list opens at what is chosen";
    EXPECT_EQ(chosen, 2);
    selector->Text()->Clear();
    EXPECT_TRUE(PumpUntil([&] { return selector->GetJob() == UID(); }));
    EXPECT_EQ(chosen, 3);
    selector->SelectJob(own);
    EXPECT_EQ(selector->GetJob(), own) << "what is not offered is kept";
    EXPECT_EQ(selector->Text()->GetValue(), wxvText(own.ToString()));
    selector->Clear();
    EXPECT_EQ(selector->GetJob(), UID());
    EXPECT_TRUE(selector->Text()->IsEmpty());
}

} // namespace vorlan::test_jobcontrols
