// Pictures of the client, for the documentation and for those who look at its design:
//     VORLAN_SCREENSHOTS=docs/screenshots gui_tests --gtest_filter='Screenshots*'
// With GDK_SCALE=2 they have the double resolution and "@2x" in their names.
#include "demofarm.h"
#include "guitest.h"

#include <wx/bookctrl.h>
#include <wx/wxvorlandlg.h>

namespace vorlan::test_screenshots {

constexpr char const* k_SchemeNames[k_BuiltInSchemes] = {"lighter", "light", "dark", "darker"};

char const* Folder() { return std::getenv("VORLAN_SCREENSHOTS"); }

struct Screenshots : GuiTest {
    Screenshots() { HasRunBefore(); }
    ~Screenshots() override { wxvSetColorScheme(static_cast<int>(k_DefaultScheme)); }
    void SetUp() override {
        if (!Folder())
            GTEST_SKIP() << "VORLAN_SCREENSHOTS names no folder";
    }
    void Start(wxSize const& size) {
        StartClient().SetSize(wxRect(wxPoint(0, 0), Window().FromDIP(size)));
        outside.connected = true;
        Connected();
        Say<EndEngineInfoMsg>();
        Say<EndJobInfoMsg>();
        Window().ShowConnection("Connected to farm-master");
        ASSERT_TRUE(PumpUntil([] { return MainWindow::Get()->IsShownOnScreen(); }));
    }
    void SelectJob(char const* name) {
        ListCtrlBase& list = List(JobListCtrl::k_BaseID);
        UID const id = UID::FromName(name);
        ASSERT_TRUE(PumpUntil([&] { return list.GetRowOf(id) >= 0; }));
        list.Select(list.GetRowOf(id));
        list.EnsureVisible(list.GetRowOf(id));
        ASSERT_TRUE(PumpUntil([&] { return Window().CanUse(CommandNeeds::JobSelected); }));
    }
    // From the menu bar to the status bar, after all has come to rest.
    void Take(String const& name) {
        auto const end = Time::CurrentTime() + Time(700);
        ASSERT_TRUE(PumpUntil([&] { return Time::CurrentTime() > end; }));
        MainWindow& window = Window();
        wxRect const client(window.ClientToScreen(wxPoint(0, 0)), window.GetClientSize());
        int const above = window.GetMenuBar()->GetSize().y;
        int const below = window.GetStatusBar()->IsShown() ? window.GetStatusBar()->GetSize().y : 0;
        // The screen counts its own pixels. The toolkit's own picture of it is never renewed.
        int const scale = window.GetContentScaleFactor() > 1.5 ? 2 : 1;
        corekit::File::MakeFolder(Path(Folder()));
        String const file = String(Folder()) + "/" + name + (scale == 2 ? "@2x" : "") + ".png";
        String const command = SFormat("import -window root -crop %dx%d+%d+%d +repage -strip +dither -colors 255 "
                                       "-define png:compression-level=9 'PNG8:%s'",
                                       client.width * scale, (client.height + above + below) * scale, client.x * scale,
                                       (client.y - above) * scale, file.c_str());
        EXPECT_EQ(wxExecute(wxvText(command), wxEXEC_SYNC | wxEXEC_NODISABLE), 0) << file;
    }
    void TakeEveryScheme(String const& name) {
        for (int scheme = 0; scheme < k_BuiltInSchemes; ++scheme) {
            wxvSetColorScheme(scheme);
            Take(name + "-" + k_SchemeNames[scheme]);
        }
    }
};

TEST_F(Screenshots, EveryScheme) {
    Start({1400, 900});
    FillDemoFarm();
    SelectJob("SC010_hero_crypto_v042");
    TakeEveryScheme("main");
}

TEST_F(Screenshots, SmallAndCrowded) {
    Start({900, 600});
    FillDemoFarm();
    CrowdDemoFarm(300);
    Window().SetAdministrator(true);
    SelectJob("SC010_hero_beauty_v042");
    TakeEveryScheme("crowded");
}

TEST_F(Screenshots, Engines) {
    Start({1000, 640});
    FillDemoFarm();
    ListCtrlBase& list = List(EngineListCtrl::k_BaseID + 2);
    auto& book = dynamic_cast<wxBookCtrlBase&>(*list.GetGrandParent());
    book.SetSelection(1);
    ASSERT_TRUE(PumpUntil([&] { return list.GetItemCount() > 0; }));
    list.Select(0);
    ASSERT_TRUE(PumpUntil([&] { return !Window().Info()->Facts().heading.Empty(); }));
    Take("engines");
    Window().CallAfter([this] {
        Take("question");
        wxVorlanDlg::CloseAll();
    });
    Window().Close();
}

TEST_F(Screenshots, Nothing) {
    Start({1000, 640});
    Take("empty");
    Disconnected();
    Take("searching");
    wxCommandEvent event;
    Window().OnEngineMode(event);
    Take("enginemode");
}

} // namespace vorlan::test_screenshots
