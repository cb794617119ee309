// The lists: columns, sort, selection, and how they keep in step with the data.
#include "guitest.h"

#include "lists/columnmenu.h"

#include <wx/notebook.h>
#include <wx/translation.h>

namespace vorlan::test_listctrl {

struct ListCtrlTest : GuiTest {
    static constexpr char k_Section[] = "2600";
    ListCtrlTest() {
        m_frame = new wxFrame(nullptr, wxID_ANY, "Lists", wxPoint(20, 20), wxSize(900, 400));
        m_frame->SetSizer(new wxBoxSizer(wxVERTICAL));
        m_frame->Show();
    }
    ~ListCtrlTest() override {
        delete m_frame;
        Pump();
    }
    template <class List = _JobListCtrl>
    List& Add(wxWindow* parent = nullptr, int position = 0) {
        auto* const list = new List(parent ? parent : m_frame, position);
        if (!parent) {
            m_frame->GetSizer()->Add(list, wxSizerFlags(1).Expand());
            m_frame->Layout();
        }
        return *list;
    }
    static void AddJobs(unsigned count) {
        for (unsigned i = 0; i < count; ++i)
            AddJob(SFormat("job %05u", i), static_cast<int>(i % 7));
    }
    static UID AddJob(String const& name, int priority) {
        auto const job = NewJob(name.c_str());
        job->SetParameter(p_Priority, String::From(priority));
        JobList::Get().InsertJob(job);
        return job->id;
    }
    // Runs what `look` does with a list that is made now and gone afterwards.
    void WithList(std::function<void(_JobListCtrl&)> const& look) {
        auto& list = Add<>();
        look(list);
        list.Destroy();
        Pump();
    }
    // A page of the book, with a list on it.
    _JobListCtrl& AddPage(wxNotebook* book, int position) {
        auto* const page = new wxPanel(book);
        book->AddPage(page, std::to_string(position));
        return Add<>(page, position);
    }
    wxNotebook* AddBook() {
        auto* const book = new wxNotebook(m_frame, wxID_ANY);
        m_frame->GetSizer()->Add(book, wxSizerFlags(1).Expand());
        return book;
    }
    static void Tick() { wxTimed::s_Timer0250.Emit(); }
    // By which columns.
    static std::pair<int, int> Sorted(ListCtrlBase const& list) {
        return {list.GetSortColumn(), list.GetSecondSortColumn()};
    }

    // The names in the rows, as far as they are told.
    static std::string Names(RowListCtrl<JobRows>& list, int most = 20) {
        std::string names;
        for (int row = 0; row < std::min(most, list.GetItemCount()); ++row)
            names += (row ? " " : "") + Jobs::GetJobA(list.GetRowID(row))->Name().Str();
        return names;
    }
    static void Click(ListCtrlBase& list, int column) {
        wxListEvent event(wxEVT_LIST_COL_CLICK, list.GetId());
        event.m_col = column;
        list.ProcessWindowEvent(event);
    }
    // "Name:0:1" of each column: label, type, ascending.
    static std::string Columns(ListCtrlBase const& list) {
        std::string text;
        for (int column = 0; column < list.GetColumnCount(); ++column)
            text += (column ? " " : "") + list.GetColumnName(column).Str() + ":" +
                    std::to_string(list.GetColumnType(static_cast<size_t>(column))) + ":" +
                    (list.IsColumnAscending(column) ? "1" : "0");
        return text;
    }
    wxFrame* m_frame;
};

TEST_F(ListCtrlTest, ColumnsComeBackFromTheOptions) {
    for (auto const& [saved, columns, custom] : Rows<char const*, char const*, char const*>{
             {"Name,100,1,0,;Status,80,0,4,", "Name:0:1 Status:4:0", ""},
             {"Name,100,1,0", "Name:0:1", ""},
             {"A\\, b,90,1,2,", "A, b:2:1", ""},
             {"back\\\\slash,90,1,2,", "back\\slash:2:1", ""},
             {"semi`;colon,90,1,2,;tick``,50,1,3,", "semi;colon:2:1 tick`:3:1", ""},
             {"Shot,90,1,19,$(Name) v1", "Shot:19:1", "$(Name) v1"},
             {"Name,100,1,0,;Shot,90,1,19,\"a;b,c\"", "Name:0:1 Shot:19:1", "\"a;b,c\""},
             // A record with too few or too many fields is dropped.
             {"Name,100,1;Status,80,1,4,;;x,,,", "Status:4:1", ""},
             {"Name,100,1,0,;Bad,1,1,19,a,b", "Name:0:1", ""},
         }) {
        Options().SetValue(k_Section, "AllColumns", saved);
        WithList([&](_JobListCtrl& list) {
            EXPECT_EQ(Columns(list), columns) << saved;
            EXPECT_EQ(list.GetColumnCustom(list.GetColumnCount() - 1), custom) << saved;
            list.SaveColumnInfo();
            list.RemoveAllColumns();
            list.LoadColumnInfo();
            EXPECT_EQ(Columns(list), columns) << "saved again: " << saved;
        });
    }
    for (char const* const saved : {"", "x", ";;;", "\"", "`"}) {
        Options().SetValue(k_Section, "AllColumns", saved);
        WithList([&](_JobListCtrl& list) {
            EXPECT_EQ(list.GetColumnCount(), 10) << "the default ones in place of " << saved;
            EXPECT_EQ(Sorted(list), std::pair(0, -1));
        });
    }
}

TEST_F(ListCtrlTest, SortColumnsAreReadFromTheCurrentSection) {
    for (auto const& [first, second, expected] : Rows<int, int, std::pair<int, int>>{
             {2, 4, {2, 4}}, {2, 2, {2, -1}}, {10, 3, {0, 3}}, {-1, 99, {0, -1}}, {3, -1, {3, -1}}}) {
        Options().SetSection("elsewhere");
        Options().SetValue("elsewhere", "SortCol", first);
        Options().SetValue("elsewhere", "Sort2Col", second);
        WithList([&](_JobListCtrl& list) { EXPECT_EQ(Sorted(list), expected) << first << " " << second; });
    }
}

TEST_F(ListCtrlTest, AClickSortsAndTheFormerColumnComesSecond) {
    AddJob("c", 1);
    AddJob("a", 2);
    AddJob("b", 1);
    auto& list = Add<>();
    constexpr int k_Name = 0;
    constexpr int k_Priority = 2;
    EXPECT_EQ(Names(list), "a b c");
    for (auto const& [column, names, first, second] : Rows<int, char const*, int, int>{
             {k_Name, "c b a", k_Name, -1},
             {k_Priority, "c b a", k_Priority, k_Name},
             {k_Priority, "a c b", k_Priority, k_Name},
             {k_Name, "c b a", k_Name, k_Priority},
             {k_Name, "a b c", k_Name, k_Priority},
             {99, "a b c", k_Name, k_Priority},
         }) {
        Click(list, column);
        EXPECT_EQ(Names(list), names);
        EXPECT_EQ(Sorted(list), std::pair(first, second));
        EXPECT_EQ(list.GetHighlightColumn(), first);
    }
    list.MoveColumn(k_Priority, -2);
    EXPECT_EQ(Sorted(list), std::pair(1, 0)) << "the sort goes with its column";
    list.RemoveColumn(1);
    EXPECT_EQ(Sorted(list), std::pair(0, -1));
    list.SetDefaultColumns();
    EXPECT_EQ(list.GetColumnCount(), 10);
    EXPECT_EQ(list.GetSortColumn(), 0);
}

TEST_F(ListCtrlTest, TheMenuOfAHeaderShowsHidesAndMovesColumns) {
    AddJob("b", 1);
    AddJob("a", 2);
    Options().SetValue(k_Section, "AllColumns", "Name,100,1,0,;Status,80,0,4,;Priority,80,1,2,");
    auto& list = Add<>();
    constexpr int k_Pool = k_IdColumnFirstType + int{JobColumns::Pool};
    constexpr int k_Priority = k_IdColumnFirstType + int{JobColumns::Priority};
    // The numbers of the items that the first column does not offer.
    char const* const atTheEdge = "16002 16001";
    char const* const alone = "16002 16001 16003 16004 16006 16009";
    for (auto const& [column, id, columns, wantedOff] : Rows<int, int, char const*, char const*>{
             {0, k_IdColumnRight, "Status:4:0 Name:0:1 Priority:2:1", atTheEdge},
             {0, k_IdColumnFarRight, "Name:0:1 Priority:2:1 Status:4:0", atTheEdge},
             {2, k_IdColumnLeft, "Name:0:1 Status:4:0 Priority:2:1", atTheEdge},
             {2, k_IdColumnFarLeft, "Priority:2:1 Name:0:1 Status:4:0", atTheEdge},
             {1, k_Pool, "Priority:2:1 Pool:6:1 Name:0:1 Status:4:0", atTheEdge},
             {-1, k_Pool + 1, "Priority:2:1 Pool:6:1 Name:0:1 Status:4:0 Creator:7:1", atTheEdge},
             {0, k_Pool, "Priority:2:1 Name:0:1 Status:4:0 Creator:7:1", atTheEdge},
             {1, k_IdColumnRemove, "Priority:2:1 Status:4:0 Creator:7:1", atTheEdge},
             {2, k_IdColumnRemove, "Priority:2:1 Status:4:0", atTheEdge},
             {1, k_IdColumnRemove, "Priority:2:1", alone},
             {0, k_IdColumnRemove, "Priority:2:1", alone},
             {0, k_Priority, "Priority:2:1", alone},
             {0, k_IdColumnFirstType + 18, "Priority:2:1", alone},
         }) {
        DoColumnCommand(list, column, id);
        EXPECT_EQ(Columns(list), columns) << id;
        wxMenu menu;
        BuildViewColumnListMenu(menu, list, 0);
        std::string off;
        for (wxMenuItem const* item : menu.GetMenuItems()) {
            if (item->GetId() > 0 && !item->IsEnabled())
                off += (off.empty() ? "" : " ") + std::to_string(item->GetId());
        }
        EXPECT_EQ(off, wantedOff) << columns;
    }
    Tick();
    EXPECT_EQ(Names(list), "b a") << "the column that it was sorted by has gone";
    EXPECT_EQ(Columns(Add<>()), "Priority:2:1") << "as the options have it";
    DoColumnCommand(list, 0, k_IdColumnDefaults);
    EXPECT_EQ(list.GetColumnCount(), 10);
}

TEST_F(ListCtrlTest, ARebuildKeepsSelectionAnchorAndPlace) {
    AddJobs(200);
    auto& list = Add<>();
    Pump();
    UID const id = list.GetRowID(50);
    list.Select(50);
    list.Select(51);
    list.SetLastSelect(50);
    list.SetScrollPos(wxVERTICAL, 40);
    JobList::Get().UpdateJob(id, p_Name, "a first one");
    Tick();
    EXPECT_EQ(list.GetRowID(0), id) << "it has moved";
    EXPECT_EQ(list.GetSelectedIDs().size(), 2u);
    EXPECT_THAT(list.GetSelection(), testing::UnorderedElementsAre(0, 51));
    EXPECT_EQ(list.GetLastSelect(), 0);
    EXPECT_EQ(list.GetScrollPos(wxVERTICAL), 40);
    JobList::Get().RemoveJob(id);
    EXPECT_EQ(list.GetSelectedIDs().size(), 2u) << "until the next tick";
    Tick();
    EXPECT_EQ(list.GetSelectedIDs().size(), 1u);
    EXPECT_THAT(list.GetSelection(), testing::UnorderedElementsAre(-1, 50));
    EXPECT_EQ(list.GetLastSelect(), -1);
    EXPECT_EQ(list.GetScrollPos(wxVERTICAL), 40);
    Tick();
    JobList::Get().RefreshJob(UID::FromName("job 00007"));
    Tick();
    EXPECT_EQ(list.GetSelection().size(), 1u) << "gone with the second rebuild";
    list.SetSelectedIDs({list.GetRowID(3), list.GetRowID(9)}, list.GetRowID(9));
    EXPECT_EQ(list.GetLastSelect(), 9);
    EXPECT_TRUE(list.IsRowSelected(3));
    JobList::Get().Clear();
    EXPECT_EQ(list.GetItemCount(), 0);
    EXPECT_FALSE(list.HasSelection());
}

TEST_F(ListCtrlTest, TheKeyboardStaysWithItsRow) {
    AddJobs(50);
    auto& list = Add<>();
    auto const named = [](char const* name) { return UID::FromName(name); };
    auto const current = [&list] { return list.GetRowID(list.GetCurrentRow()); };
    list.Select(10);
    list.SetCurrentRow(14);
    JobList::Get().UpdateJob(named("job 00014"), p_Name, "a first one");
    Tick();
    EXPECT_EQ(list.GetCurrentRow(), 0);
    EXPECT_EQ(list.GetLastSelect(), 11) << "the anchor is another row";
    Click(list, 0);
    EXPECT_EQ(current(), named("job 00014")) << "sorted the other way";
    // Who takes the place of one that has gone, alone or with its neighbours.
    list.SetCurrentRow(list.GetRowOf(named("job 00030")));
    for (char const* const gone : {"job 00030", "job 00029", "job 00040"})
        JobList::Get().RemoveJob(named(gone));
    Tick();
    EXPECT_EQ(current(), named("job 00028"));
    Click(list, 0);
    list.SetCurrentRow(list.GetItemCount() - 1);
    JobList::Get().RemoveJob(current());
    Tick();
    EXPECT_EQ(list.GetCurrentRow(), list.GetItemCount() - 1);
    // A selection in another list takes the selection away and nothing else.
    list.SetSelectedIDs({}, UID::Null);
    EXPECT_EQ(list.GetCurrentRow(), list.GetItemCount() - 1);
    JobList::Get().Clear();
    EXPECT_EQ(list.GetCurrentRow(), -1);
}

TEST_F(ListCtrlTest, ColumnsAreAsWideAsWhatTheyHold) {
    m_frame->SetClientSize(1600, 300);
    m_frame->Hide();
    auto& list = Add<>();
    list.SetDefaultColumns();
    while (list.GetColumnCount() > 5)
        list.RemoveColumn(5); // a screen may be too narrow for all
    constexpr int k_Name = 0;
    constexpr int k_Priority = 2;
    int const name = list.GetColumnWidth(k_Name);
    EXPECT_EQ(name, list.FromDIP(ColumnWidth::Name));
    EXPECT_LT(list.GetColumnWidth(k_Priority), list.FromDIP(ColumnWidth::Word));
    AddJob("the name of a Job that is longer than most names that anybody gives", 1);
    Tick();
    EXPECT_EQ(list.GetColumnWidth(k_Name), name) << "nobody has seen a row yet";
    std::vector<UID> const ids = Jobs::GetAllJobs();
    JobList::Get().RemoveJob(ids.front());
    Tick();
    m_frame->Show();
    // Shown without a row, until the desktop has given it its size.
    for (int i = 0; i < 40; ++i) {
        Pump();
        Tick();
        wxMilliSleep(5);
    }
    EXPECT_EQ(list.GetColumnWidth(k_Name), name);
    AddJob("the name of a Job that is longer than most names that anybody gives", 1);
    ASSERT_TRUE(PumpUntil([&] {
        Tick();
        return list.GetColumnWidth(k_Name) > name;
    }));
    String const fitted = String::From(list.GetColumnWidth(k_Name));
    String const kept = Options().GetValue(k_Section, "AllColumns", String());
    EXPECT_TRUE(kept.Contains("Name," + fitted + ",")) << kept.c_str();
    // In a narrow window as many as can be can be read, until somebody chooses a width.
    auto const isNameIn = [&](int width, int expected) {
        list.SetSize(width, 300);
        return list.GetColumnWidth(k_Name) == expected;
    };
    int const least = list.FromDIP(ColumnWidth::Least(ColumnWidth::Name));
    EXPECT_TRUE(isNameIn(400, least) && isNameIn(1600, static_cast<int>(fitted.Int())));
    wxListEvent dragged(wxEVT_LIST_COL_END_DRAG, list.GetId());
    list.HandleWindowEvent(dragged);
    EXPECT_TRUE(isNameIn(400, static_cast<int>(fitted.Int())) && isNameIn(1600, static_cast<int>(fitted.Int())));
    // The last one takes the rest, whatever becomes of its own width.
    while (list.GetColumnCount() > 2)
        list.RemoveColumn(2);
    Pump();
    EXPECT_EQ(list.GetCellRect(0, 1).GetRight(), list.GetClientSize().x - 1);
    list.SetColumnWidth(1, 2000);
    EXPECT_EQ(list.GetCellRect(0, 1).width, 2000);
}

// What the bar's end looks like: a line that can be told from both sides of it.
TEST_F(ListCtrlTest, TheEndOfAProgressBarIsALine) {
    auto& list = Add<>();
    JobList::Get().UpdateJob(AddJob("begun", 1), p_PercentDone, "20");
    list.Update();
    constexpr int k_Progress = 3;
    wxRect const cell = list.GetCellRect(0, k_Progress);
    wxBitmap bitmap(list.GetClientSize());
    wxMemoryDC dc(bitmap);
    list.PaintCopy(dc);
    dc.SelectObject(wxNullBitmap);
    wxImage const image = bitmap.ConvertToImage();
    std::vector<int> edges;
    for (int x = cell.x; x < cell.GetRight(); ++x) {
        if (int const y = cell.y + 4;
            wxColour(image.GetRed(x, y), image.GetGreen(x, y), image.GetBlue(x, y)) == ProgressColorsOf(false).edge)
            edges.push_back(x);
    }
    ASSERT_EQ(edges.size(), 1u);
    EXPECT_NEAR(edges.front(), cell.x + cell.width / 5, 3);
}

// A language in which one word is known.
struct OneWord : wxTranslationsLoader {
    wxMsgCatalog* LoadCatalog(wxString const& domain, wxString const&) override {
        char const* const texts[] = {"", "Status", "Content-Type: text/plain; charset=UTF-8\n", "Zustand"};
        constexpr uint32_t k_Count = 2;
        constexpr uint32_t k_Head = 28;
        std::vector<uint32_t> head{0x950412de, 0, k_Count, k_Head, k_Head + 8 * k_Count, 0, k_Head + 16 * k_Count};
        std::string body;
        for (char const* const text : texts) {
            head.push_back(static_cast<uint32_t>(std::strlen(text)));
            head.push_back(k_Head + 16 * k_Count + static_cast<uint32_t>(body.size()));
            body += std::string(text) + '\0';
        }
        std::string const all = std::string(reinterpret_cast<char const*>(head.data()), head.size() * 4) + body;
        return wxMsgCatalog::CreateFromData(wxScopedCharBuffer::CreateNonOwned(all.data(), all.size()), domain);
    }
    wxArrayString GetAvailableTranslations(wxString const&) const override { return wxArrayString(1, "de"); }
};

TEST_F(ListCtrlTest, TitlesFollowTheLanguage) {
    auto* const translations = new wxTranslations;
    translations->SetLoader(new OneWord);
    translations->SetLanguage("de");
    wxTranslations::Set(translations);
    ASSERT_TRUE(translations->AddCatalog("vorlan", wxLANGUAGE_ENGLISH));
    for (char const* const saved : {"", "Status,80,0,4,", "Status,80,0,4,;Mine,80,1,0,"}) {
        Options().SetValue(k_Section, "AllColumns", saved);
        WithList([&](_JobListCtrl& list) {
            EXPECT_EQ(list.GetColumnName(list.FindColumnByType(JobColumns::Status)), "Zustand") << saved;
            list.SaveColumnInfo();
            String const kept = Options().GetValue(k_Section, "AllColumns", String());
            EXPECT_TRUE(kept.Contains("Status,")) << "for another language: " << kept.c_str();
        });
    }
    wxTranslations::Set(nullptr);
}

TEST_F(ListCtrlTest, EventsSelectById) {
    AddJobs(5);
    auto& list = Add<>();
    int heard = 0;
    auto const hear = [&heard](wxListEvent&) { ++heard; };
    m_frame->Bind(wxEVT_LIST_ITEM_SELECTED, hear);
    m_frame->Bind(wxEVT_LIST_ITEM_DESELECTED, hear);
    list.Select(2);
    list.Select(4);
    list.Select(2, 0);
    EXPECT_EQ(heard, 3) << "the window hears of each";
    EXPECT_EQ(list.GetSelectedIDs(), std::set<UID>{list.GetRowID(4)});
    EXPECT_EQ(list.GetSelection(), std::vector<int>{4});
    EXPECT_TRUE(JobList::Get().AnyJobSelected());
    EXPECT_FALSE(list.IsRowSelected(-1) || list.IsRowSelected(99));
    int command = 0;
    m_frame->Bind(wxEVT_MENU, [&command](wxCommandEvent& event) { command = event.GetId(); });
    list.Activate(1);
    EXPECT_EQ(command, 0) << "posted, not called";
    EXPECT_TRUE(PumpUntil([&command] { return command != 0; }));
    EXPECT_EQ(command, 12017);
}

TEST_F(ListCtrlTest, FilterSlotsLeaveRowsOut) {
    struct Slot : HasSlots<> {
        ~Slot() override { DisconnectAll(); }
        void OnJob(boost::shared_ptr<JobInfo> const& info, bool& include) {
            include = include && info->job->Priority() > least;
        }
        int least = 3;
    };
    AddJobs(70);
    auto& list = Add<>();
    Slot slot;
    Slot second;
    second.least = 5;
    list.FilterJob.Connect(&slot, &Slot::OnJob);
    list.Update();
    EXPECT_EQ(list.GetItemCount(), 30);
    list.FilterJob.Connect(&second, &Slot::OnJob);
    list.Update();
    EXPECT_EQ(list.GetItemCount(), 10);
    list.FilterJob.Disconnect(&second);
    JobList::Get().UpdateJob(UID::FromName("job 00001"), p_Priority, "9");
    Tick();
    EXPECT_EQ(list.GetItemCount(), 31);
}

// A list on a page at the back sleeps, and is fresh when its page comes to the front.
TEST_F(ListCtrlTest, OnlyTheFrontPageIsAwake) {
    wxNotebook* const outer = AddBook();
    auto& first = AddPage(outer, 0);
    auto& second = AddPage(outer, 1);
    // A list that is a page itself counts with the book around its own.
    auto* const inner = new wxNotebook(outer->GetPage(0), wxID_ANY);
    auto& direct = Add<>(inner, 2);
    inner->AddPage(&direct, "3");
    auto& free = Add<>(m_frame, 3);
    m_frame->Layout();
    Pump();
    EXPECT_TRUE(first.IsAwake() && !second.IsAwake() && direct.IsAwake() && free.IsAwake());
    AddJobs(3);
    Tick();
    EXPECT_EQ(first.GetItemCount(), 3);
    EXPECT_EQ(second.GetItemCount(), 0);
    Tick();
    EXPECT_EQ(second.GetItemCount(), 0) << "the change is forgotten";
    outer->ChangeSelection(1);
    EXPECT_TRUE(PumpUntil([&second] { return second.GetItemCount() == 3; }));
    EXPECT_FALSE(direct.IsAwake());
    free.Destroy();
}

TEST_F(ListCtrlTest, ALongListIsMadeAside) {
    constexpr int k_Rows = 6000;
    AddJobs(k_Rows);
    auto& list = Add<>();
    EXPECT_TRUE(list.IsRebuilding());
    auto const isReady = [&list] { return !list.IsRebuilding(); };
    ASSERT_TRUE(PumpUntil(isReady));
    ASSERT_EQ(list.GetItemCount(), k_Rows);
    EXPECT_EQ(Names(list, 2), "job 00000 job 00001");
    UID const last = list.GetRowID(k_Rows - 1);
    list.Select(k_Rows - 1);
    list.SetLastSelect(k_Rows - 1);
    list.SetCurrentRow(17);
    list.SetScrollPos(wxVERTICAL, 3000);
    JobList::Get().UpdateJob(last, p_Name, "a first one");
    Tick();
    ASSERT_TRUE(PumpUntil(isReady));
    EXPECT_EQ(list.GetRowID(0), last);
    EXPECT_TRUE(list.IsRowSelected(0));
    EXPECT_EQ(list.GetLastSelect(), 0);
    EXPECT_EQ(list.GetCurrentRow(), 18);
    EXPECT_EQ(list.GetScrollPos(wxVERTICAL), 3000);
    // Another order while rows of the former one are being made.
    list.Update();
    ASSERT_TRUE(list.IsRebuilding());
    Click(list, 0);
    ASSERT_TRUE(PumpUntil(isReady));
    EXPECT_EQ(Names(list, 1), "job 05998") << "the last name first";
    EXPECT_EQ(list.GetRowID(k_Rows - 1), last);
    // Emptied meanwhile: what was made is not shown.
    list.Update();
    JobList::Get().Clear();
    EXPECT_EQ(list.GetItemCount(), 0);
    ASSERT_TRUE(PumpUntil(isReady));
    EXPECT_EQ(list.GetItemCount(), 0);
    // Gone meanwhile.
    AddJobs(k_Rows);
    list.Update();
    list.Destroy();
    Pump();
}

// The rows that were being made when the page went to the back are older than the change.
TEST_F(ListCtrlTest, AChangeDuringARebuildAtTheBackIsSeenInFront) {
    struct Slot : HasSlots<> {
        ~Slot() override { DisconnectAll(); }
        void OnJob(boost::shared_ptr<JobInfo> const&, bool&) {
            isIn = true;
            isIn.notify_all();
            mayGo.wait(false);
        }
        std::atomic<bool> isIn{false};
        std::atomic<bool> mayGo{false};
    };
    constexpr int k_Rows = 6000;
    AddJobs(k_Rows);
    wxNotebook* const book = AddBook();
    auto& list = AddPage(book, 0);
    book->AddPage(new wxPanel(book), "1");
    m_frame->Layout();
    auto const isReady = [&list] { return !list.IsRebuilding(); };
    ASSERT_TRUE(PumpUntil(isReady));
    Slot slot;
    list.FilterJob.Connect(&slot, &Slot::OnJob);
    list.Update();
    slot.isIn.wait(false);
    book->ChangeSelection(1);
    Pump();
    JobList::Get().RemoveJob(list.GetRowID(0));
    Tick();
    slot.mayGo = true;
    slot.mayGo.notify_all();
    ASSERT_TRUE(PumpUntil(isReady));
    ASSERT_EQ(list.GetItemCount(), k_Rows);
    book->ChangeSelection(0);
    EXPECT_TRUE(PumpUntil([&list] { return list.GetItemCount() == k_Rows - 1; }, 3000));
}

TEST_F(ListCtrlTest, RowsAndCellsOfWhatIsGoneAreBlank) {
    UID const id = FarmTest::AddJob("job", Finished)->job->id;
    Failures::Add(id, UID::FromName("product"), UID::FromName("engine"), Time(1));
    auto& list = Add<>();
    list.PrepareToDraw(0);
    EXPECT_EQ(list.GetDisplayText(0, 0), "job");
    EXPECT_EQ(list.GetDisplayText(0, 99), "");
    EXPECT_EQ(list.GetRowColor(0), wxvGetColor(ColorName::TextBlue));
    wxColour const tinted = list.GetRowBGColor(0);
    list.CleanupAfterDraw(0);
    JobList::Get().RemoveJob(id);
    Failures::Clear();
    list.PrepareToDraw(0);
    EXPECT_EQ(list.GetDisplayText(0, 0), "");
    wxColour const plain = list.GetRowBGColor(0);
    EXPECT_NEAR(tinted.Red(), plain.Red() * 0.9 + 25.5, 1);
    EXPECT_NEAR(tinted.Blue(), plain.Blue() * 0.9, 1);
    list.CleanupAfterDraw(0);
}

TEST_F(ListCtrlTest, EnginesAndWorkHaveListsOfTheirOwn) {
    UID const engine = AddEngine("node 1");
    UID const job = AddJob("job", 50);
    auto& engines = Add<_EngineListCtrl>();
    auto& work = Add<_WorkListCtrl>();
    EXPECT_EQ(engines.GetId(), 2500);
    EXPECT_EQ(work.GetSection(), "2700");
    EXPECT_EQ(Columns(engines), "Name:0:1 Uptime:1:1 Status:2:1 Errors:3:1 Platform:4:1 Note:5:1");
    EXPECT_EQ(Columns(work), "Work:0:1 Job:1:1 Elapsed:2:1 Engine:3:1 Pool:4:1 Note:5:1");
    EXPECT_EQ(engines.GetItemCount(), 1);
    Assign(Unit("1-4", job), engine);
    Tick();
    ASSERT_EQ(work.GetItemCount(), 1);
    work.PrepareToDraw(0);
    EXPECT_EQ(work.GetDisplayText(0, 0), "1-4");
    EXPECT_EQ(work.GetDisplayText(0, 1), "job");
    EXPECT_EQ(work.GetDisplayText(0, 3), "node 1");
    work.CleanupAfterDraw(0);
}

} // namespace vorlan::test_listctrl
