// Making the rows of a list of 100,000 Jobs from nothing, filter and two-key sort, as after
// a click on a column, against folding and sorting ready keys. Stock lists that are given
// the same rows and sort them by themselves are told beside (standard error).

#include "rowsbench.h"

#include <wx/app.h>
#include <wx/dataview.h>
#include <wx/frame.h>
#include <wx/listctrl.h>

using namespace bench;

namespace {

constexpr size_t k_Runs = 9;

// A virtual list over sorted names: the sort is its owner's.
class StockList : public wxListCtrl {
public:
    explicit StockList(wxWindow* parent)
        : wxListCtrl(parent, wxID_ANY, wxDefaultPosition, wxDefaultSize, wxLC_REPORT | wxLC_VIRTUAL) {
        AppendColumn("Name");
    }
    double ResetMs(std::vector<wxString> const& names) {
        return 1000 * Seconds([&] {
                   m_names = names;
                   std::stable_sort(m_names.begin(), m_names.end(),
                                    [](wxString const& a, wxString const& b) { return a.CmpNoCase(b) < 0; });
                   SetItemCount(static_cast<long>(m_names.size()));
                   Refresh();
                   Update();
               });
    }

private:
    wxString OnGetItemText(long row, long) const override { return m_names[static_cast<size_t>(row)]; }
    std::vector<wxString> m_names;
};

// The same behind a model that the control sorts.
class StockModel : public wxDataViewVirtualListModel {
public:
    explicit StockModel(std::vector<wxString> const& names) : m_names(names) {}
    unsigned GetColumnCount() const override { return 1; }
    wxString GetColumnType(unsigned) const override { return "string"; }
    void GetValueByRow(wxVariant& value, unsigned row, unsigned) const override { value = m_names[row]; }
    bool SetValueByRow(wxVariant const&, unsigned, unsigned) override { return false; }

private:
    std::vector<wxString> const& m_names;
};

double DataViewResetMs(wxDataViewCtrl& control, StockModel& model, size_t rows) {
    return 1000 * Seconds([&] {
               model.Reset(static_cast<unsigned>(rows));
               control.Refresh();
               control.Update();
           });
}

void TellStockLists(std::vector<String> const& names) {
    std::vector<wxString> texts;
    for (String const& name : names)
        texts.push_back(wxString::FromUTF8(name.c_str()));
    auto* const frame = new wxFrame(nullptr, wxID_ANY, "Stock lists", wxDefaultPosition, wxSize(600, 400));
    auto* const list = new StockList(frame);
    auto* const view = new wxDataViewCtrl(frame, wxID_ANY);
    wxObjectDataPtr<StockModel> const model(new StockModel(texts));
    view->AssociateModel(model.get());
    view->AppendTextColumn("Name", 0, wxDATAVIEW_CELL_INERT, 200, wxALIGN_LEFT, wxDATAVIEW_COL_SORTABLE)
        ->SetSortOrder(true);
    frame->Show();
    wxYield();
    std::vector<double> listMs;
    std::vector<double> viewMs;
    for (size_t i = 0; i < k_FewestRuns; ++i) {
        listMs.push_back(list->ResetMs(texts));
        viewMs.push_back(DataViewResetMs(*view, *model, texts.size()));
    }
    std::fprintf(
        stderr,
        "rebuild: stock wxListCtrl (virtual), rows sorted by its owner: %.0f ms; stock wxDataViewCtrl: %.0f ms\n",
        Median(listMs), Median(viewMs));
    delete frame;
}

class RebuildApp : public wxApp {
public:
    bool OnInit() override { return true; }
};

} // namespace

wxIMPLEMENT_APP_NO_MAIN(RebuildApp);

int main(int argc, char** argv) {
    Benchmark benchmark({"rebuild", "ms", "folding and sorting ready keys", Judge::RatioAtMost, 1.2}, argc, argv);
    if (benchmark.HeaderOnly())
        return benchmark.Report();
    FilteredRows list;
    size_t count = 0;
    benchmark.Run(
        k_Runs,
        [&] {
            return 1000 * Seconds([&] {
                       list.rows.Rebuild(list.request);
                       count = list.rows.Sorted().size();
                   });
        },
        [&] { return ReferenceMs(list.names); });
    if (count == 0 || count == k_RowJobs)
        benchmark.Fail("The filter left out nothing or everything.");
    int argumentCount = 1;
    if (wxEntryStart(argumentCount, argv)) {
        TellStockLists(list.names);
        wxEntryCleanup();
    }
    return benchmark.Report();
}
