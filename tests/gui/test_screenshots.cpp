// Pictures of the client, for the documentation and for those who look at its design:
//     VORLAN_SCREENSHOTS=docs/screenshots gui_tests --gtest_filter='Screenshots*'
// With GDK_SCALE=2 they have the double resolution and "@2x" in their names.
#include "demofarm.h"
#include "guitest.h"

#include "lists/joblistctrl.h"

#include <corekit/file.h>
#include <corekit/process.h>
#include <corekit/sformat.h>
#include <cstdlib>
#include <wx/menu.h>
#include <wx/statusbr.h>
#include <wx/wxvcolors.h>
#include <wx/wxvtext.h>

namespace vorlan {

namespace {

constexpr char const* k_SchemeNames[k_BuiltInSchemes] = {"lighter", "light", "dark", "darker"};

char const* Folder() { return std::getenv("VORLAN_SCREENSHOTS"); }

} // namespace

class Screenshots : public GuiTest {
protected:
    Screenshots() { HasRunBefore(); }
    ~Screenshots() override {
        ClearDemoFarm();
        wxvSetColorScheme(static_cast<int>(k_DefaultScheme));
    }
    void SetUp() override {
        if (!Folder())
            GTEST_SKIP() << "VORLAN_SCREENSHOTS names no folder";
    }

    void Start(wxSize const& size) {
        outside.connected = true;
        StartClient().SetSize(wxRect(wxPoint(0, 0), Window().FromDIP(size)));
        GuiTester::Connected(Gui());
        Window().ShowConnection("Connected to farm-master");
        ASSERT_TRUE(PumpUntil([] { return MainWindow::Get()->IsShownOnScreen(); }));
    }
    void SelectJob(char const* name) {
        auto& list = dynamic_cast<ListCtrlBase&>(*Window().FindWindow(JobListCtrl::k_BaseID));
        UID const id = UID::FromName(name);
        ASSERT_TRUE(PumpUntil([&] { return list.GetRowOf(id) >= 0; }));
        list.Select(list.GetRowOf(id));
        ASSERT_TRUE(PumpUntil([&] { return Window().CanUse(CommandNeeds::JobSelected); }));
    }
    // From the menu bar to the status bar, after all has come to rest.
    void Take(String const& name) {
        auto const end = Time::CurrentTime() + Time(700);
        ASSERT_TRUE(PumpUntil([&] { return Time::CurrentTime() > end; }));
        MainWindow& window = Window();
        wxRect const client(window.ClientToScreen(wxPoint(0, 0)), window.GetClientSize());
        int const menuHeight = window.GetMenuBar()->GetSize().y;
        int const statusHeight = window.GetStatusBar()->IsShown() ? window.GetStatusBar()->GetSize().y : 0;
        wxRect const place(client.x, client.y - menuHeight, client.width, client.height + menuHeight + statusHeight);
        // The screen counts its own pixels. The toolkit's own picture of it is never renewed.
        int const scale = window.GetContentScaleFactor() > 1.5 ? 2 : 1;
        corekit::File::MakeFolder(Path(Folder()));
        String const file = String(Folder()) + "/" + name + (scale == 2 ? "@2x" : "") + ".png";
        ProcessOptions options;
        options.args = {
            "-window",
            "root",
            "-crop",
            SFormat("%dx%d+%d+%d", place.width * scale, place.height * scale, place.x * scale, place.y * scale),
            "+repage",
            "-strip",
            "+dither",
            "-colors",
            "255",
            "-define",
            "png:compression-level=9",
            "PNG8:" + file};
        String error;
        std::unique_ptr<Process> const process = Process::Start("import", options, &error);
        ASSERT_NE(process, nullptr) << error;
        EXPECT_EQ(process->Wait(20'000), 0) << file;
    }
};

TEST_F(Screenshots, EveryScheme) {
    Start({1400, 900});
    FillDemoFarm();
    SelectJob("SC010_hero_beauty_v042");
    for (int scheme = 0; scheme < k_BuiltInSchemes; ++scheme) {
        wxvSetColorScheme(scheme);
        Take(String("main-") + k_SchemeNames[scheme]);
    }
}

TEST_F(Screenshots, SmallAndCrowded) {
    Start({900, 600});
    FillDemoFarm();
    CrowdDemoFarm(300);
    Window().SetAdministrator(true);
    SelectJob("SC010_hero_beauty_v042");
    for (int scheme = 0; scheme < k_BuiltInSchemes; ++scheme) {
        wxvSetColorScheme(scheme);
        Take(String("crowded-") + k_SchemeNames[scheme]);
    }
}

TEST_F(Screenshots, Nothing) {
    Start({1000, 640});
    Take("empty");
    GuiTester::Disconnected(Gui());
    Take("searching");
}

} // namespace vorlan
