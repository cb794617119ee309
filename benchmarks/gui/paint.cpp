// How long the owner-drawn list takes to draw a full screen of 50 rows by 10 columns,
// against drawing the same texts alone, laid out beforehand. Beside it, on stderr, what
// the toolkit's own lists take for the same rows.

#include "bench.h"

#include <corekit/sformat.h>
#include <wx/app.h>
#include <wx/dataview.h>
#include <wx/dcclient.h>
#include <wx/fontutil.h>
#include <wx/frame.h>
#include <wx/listctrl.h>
#include <wx/simplebook.h>
#include <wx/wxdblistctrl.h>
#include <wx/wxvfont.h>
#include <wx/wxvtext.h>

// The toolkit's headers do not compile without warnings.
#pragma GCC diagnostic push
#pragma GCC diagnostic ignored "-Wpedantic"
#pragma GCC diagnostic ignored "-Wcast-align"
#include <gtk/gtk.h>
#pragma GCC diagnostic pop

using namespace bench;
using corekit::SFormat;
using corekit::String;

namespace {

constexpr size_t k_Runs = 15;
constexpr int k_Repeats = 20; // paints per sample
constexpr int k_Rows = 100'000;
constexpr int k_Shown = 50;
constexpr int k_Widths[] = {230, 170, 70, 100, 120, 130, 120, 110, 150, 150};
constexpr int k_Columns = static_cast<int>(std::size(k_Widths));

String Text(int row, int column) {
    switch (column) {
    case 0:
        return SFormat("SC%03d_hero_beauty_lighting_v%03d", row % 400, row % 57);
    case 1:
        return SFormat("Blender 1001-%d", 1100 + row % 300);
    case 2:
        return String::From(row % 100);
    case 3:
        return SFormat("%d.%d%%", row % 100, row % 10);
    case 4:
        return SFormat("%d Active", row % 90);
    case 5:
        return SFormat("%d (%d total)", row % 7, row % 31);
    case 6:
        return row % 3 ? "GPU" : "Whole System";
    case 7:
        return SFormat("light%02d", row % 40);
    case 8:
        return SFormat("%d Nov %02d:%02d", 1 + row % 28, row % 24, row % 60);
    default:
        return row % 4 ? "waits for the asset team to come back" : "";
    }
}

class OwnList : public wxDBListCtrl {
public:
    explicit OwnList(wxWindow* parent) : wxDBListCtrl(parent, wxID_ANY) {
        for (int i = 0; i < k_Columns; ++i)
            AddColumn(i, "Column", k_Widths[i], i == 2 ? Align::Right : Align::Left);
        Insert(0, k_Rows, true);
    }
    String GetDisplayText(int row, int column) override { return Text(row, column); }
};

class StockList : public wxListCtrl {
public:
    explicit StockList(wxWindow* parent)
        : wxListCtrl(parent, wxID_ANY, wxDefaultPosition, wxDefaultSize, wxLC_REPORT | wxLC_VIRTUAL) {
        for (int i = 0; i < k_Columns; ++i)
            AppendColumn("Column", wxLIST_FORMAT_LEFT, k_Widths[i]);
        SetItemCount(k_Rows);
    }
    wxString OnGetItemText(long row, long column) const override {
        return wxvText(Text(static_cast<int>(row), static_cast<int>(column)));
    }
};

class Model : public wxDataViewVirtualListModel {
public:
    Model() : wxDataViewVirtualListModel(k_Rows) {}
    void GetValueByRow(wxVariant& value, unsigned row, unsigned column) const override {
        ++s_asked;
        value = wxvText(Text(static_cast<int>(row), static_cast<int>(column)));
    }
    bool SetValueByRow(wxVariant const&, unsigned, unsigned) override { return false; }

    inline static uint64_t s_asked = 0;
};

wxDataViewCtrl* NewStockView(wxWindow* parent) {
    auto* const view = new wxDataViewCtrl(parent, wxID_ANY);
    wxObjectDataPtr<Model> const model(new Model);
    view->AssociateModel(model.get());
    for (int i = 0; i < k_Columns; ++i)
        view->AppendTextColumn("Column", static_cast<unsigned>(i), wxDATAVIEW_CELL_INERT, k_Widths[i]);
    return view;
}

// The same texts in the same places, and nothing else.
class TextsAlone : public wxWindow {
public:
    explicit TextsAlone(wxWindow* parent) : wxWindow(parent, wxID_ANY) {
        SetBackgroundStyle(wxBG_STYLE_PAINT);
        Bind(wxEVT_PAINT, &TextsAlone::OnPaint, this);
    }
    ~TextsAlone() override {
        for (PangoLayout* const layout : m_layouts)
            g_object_unref(layout);
    }

private:
    void MakeLayouts(cairo_t* cairo) {
        for (int row = 0; row < k_Shown; ++row) {
            for (int column = 0; column < k_Columns; ++column) {
                PangoLayout* const layout = pango_cairo_create_layout(cairo);
                wxFont const font = wxvFont();
                pango_layout_set_font_description(layout, font.GetNativeFontInfo()->description);
                String const text = Text(row, column);
                pango_layout_set_text(layout, text.data(), static_cast<int>(text.size()));
                pango_layout_set_width(layout, (k_Widths[column] - 16) * PANGO_SCALE);
                pango_layout_set_ellipsize(layout, PANGO_ELLIPSIZE_END);
                m_layouts.push_back(layout);
            }
        }
    }

    void OnPaint(wxPaintEvent&) {
        wxPaintDC dc(this);
        auto* const cairo = static_cast<cairo_t*>(dc.GetHandle());
        if (m_layouts.empty())
            MakeLayouts(cairo);
        cairo_set_source_rgb(cairo, 0.1, 0.1, 0.1);
        cairo_paint(cairo);
        cairo_set_source_rgb(cairo, 0.9, 0.9, 0.9);
        for (int row = 0; row < k_Shown; ++row) {
            int x = 8;
            for (int column = 0; column < k_Columns; ++column) {
                cairo_move_to(cairo, x, 25 + row * 21 + 3);
                pango_cairo_show_layout(cairo, m_layouts[static_cast<size_t>(row * k_Columns + column)]);
                x += k_Widths[column];
            }
        }
    }

    std::vector<PangoLayout*> m_layouts;
};

// Shows one window after the other in one frame, and has them drawn.
class Stage {
public:
    Stage() : m_frame(new wxFrame(nullptr, wxID_ANY, "Paint")), m_book(new wxSimplebook(m_frame)) {
        own = new OwnList(m_book);
        texts = new TextsAlone(m_book);
        stockList = new StockList(m_book);
        stockView = NewStockView(m_book);
        for (wxWindow* const window : {static_cast<wxWindow*>(own), static_cast<wxWindow*>(texts),
                                       static_cast<wxWindow*>(stockList), static_cast<wxWindow*>(stockView)})
            m_book->AddPage(window, wxString());
        wxSize const size(1380, own->GetHeaderHeight() + k_Shown * own->GetRowHeight() + 24);
        m_frame->SetMinClientSize(size); // else the window manager makes it fit the screen
        m_frame->SetClientSize(size);
        m_frame->Show();
        for (int i = 0; i < 500 && own->CountDrawnRows() == 0; ++i) {
            wxYield();
            wxMilliSleep(10);
        }
    }
    ~Stage() { m_frame->Destroy(); }
    Stage(Stage const&) = delete;
    Stage& operator=(Stage const&) = delete;

    void ShowPage(wxWindow* window) {
        if (m_book->GetCurrentPage() == window)
            return;
        m_book->ChangeSelection(static_cast<size_t>(m_book->FindPage(window)));
        for (int i = 0; i < 5; ++i) {
            wxYield();
            wxMilliSleep(20);
        }
    }
    // Milliseconds of one full paint, until the screen shows it.
    double PaintMs(wxWindow* window) {
        ShowPage(window);
        return Repeat([window] {
            window->Refresh();
            window->Update();
        });
    }
    // The view is the desktop's own and has a window within it.
    double StockViewMs() {
        ShowPage(stockView);
        GtkWidget* const tree = stockView->GtkGetTreeView();
        return Repeat([tree] {
            gtk_widget_queue_draw(tree);
#pragma GCC diagnostic push
#pragma GCC diagnostic ignored "-Wdeprecated-declarations" // wxWindow::Update calls it, too
            gdk_window_process_updates(gtk_widget_get_window(tree), TRUE);
#pragma GCC diagnostic pop
        });
    }
    // Each paint shows rows that were never shown before.
    double NewRowsMs() {
        ShowPage(own);
        double const ms = Repeat([this] {
            own->SetScrollPos(wxVERTICAL, m_next += k_Shown);
            own->Refresh();
            own->Update();
        });
        own->SetScrollPos(wxVERTICAL, 0);
        return ms;
    }

    OwnList* own;
    TextsAlone* texts;
    StockList* stockList;
    wxDataViewCtrl* stockView;

private:
    template <class Paint>
    static double Repeat(Paint&& paint) {
        return Seconds([&] {
                   for (int i = 0; i < k_Repeats; ++i) {
                       paint();
                       gdk_display_sync(gdk_display_get_default());
                   }
               }) *
               1000 / k_Repeats;
    }

    wxFrame* const m_frame;
    wxSimplebook* const m_book;
    int m_next = 0;
};

class PaintApp : public wxApp {
public:
    explicit PaintApp(Benchmark& benchmark) : m_benchmark(benchmark) {}

    bool OnInit() override { return true; }
    int OnRun() override {
        SetExitOnFrameDelete(false);
        int result = 1;
        CallAfter([this, &result] {
            result = Measure();
            ExitMainLoop();
        });
        MainLoop();
        return result;
    }

private:
    int Measure() {
        Stage stage;
        stage.PaintMs(stage.own);
        uint64_t const before = stage.own->CountDrawnRows();
        stage.PaintMs(stage.own);
        uint64_t const rows = (stage.own->CountDrawnRows() - before) / k_Repeats;
        if (rows < k_Shown)
            m_benchmark.Fail(
                SFormat("%llu rows were drawn each time, not %d", static_cast<unsigned long long>(rows), k_Shown)
                    .Str());
        stage.PaintMs(stage.texts);
        m_benchmark.Run(
            k_Runs, [&] { return stage.PaintMs(stage.own); }, [&] { return stage.PaintMs(stage.texts); });
        auto const beside = [](char const* what, double ms) { std::fprintf(stderr, "paint: %s %.1f ms\n", what, ms); };
        beside("rows never shown before,", stage.NewRowsMs());
        beside("wxListCtrl (virtual)", stage.PaintMs(stage.stockList));
        uint64_t const asked = Model::s_asked;
        double const view = stage.StockViewMs();
        if (Model::s_asked - asked >= uint64_t{k_Repeats} * k_Shown * k_Columns)
            beside("wxDataViewCtrl", view);
        return m_benchmark.Report();
    }

    Benchmark& m_benchmark;
};

} // namespace

int main(int argc, char** argv) {
    Benchmark benchmark({"paint", "ms", "a window with the laid-out texts alone", Judge::RatioAtMost, 3.0}, argc, argv);
    if (benchmark.HeaderOnly())
        return benchmark.Report();
    wxApp::SetInstance(new PaintApp(benchmark));
    int count = 1;
    return wxEntry(count, argv);
}
