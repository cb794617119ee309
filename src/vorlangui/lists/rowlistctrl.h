#pragma once

#include "listctrlbase.h"
#include "rows/rowkinds.h"

#include <optional>

namespace vorlan {

// RowListCtrl is a list of the objects of one Kind: its rows come from a RowSet, its cells
// from the Kind's table of columns. A long list is rebuilt on a thread of the pool, from a
// snapshot, and the finished rows are taken over between two events, so that sorting
// 100,000 rows never holds up the windows.
// Owner: its parent window; what the pool works on is shared with it.
// Works with: the signal of its filter, whose slots see every row. For a long list they
// run on a thread of the pool: they look at the object and at values that do not change.
// Thread: the GUI thread.
// Always: one rebuild at a time. Rows that were asked for before the list was emptied or
// sorted by another column are never shown.
template <class Kind>
class RowListCtrl : public ListCtrlBase {
public:
    using Info = typename Kind::Info;
    using Pointer = boost::shared_ptr<Info>;
    using FilterSignal = typename RowSet<Kind>::FilterSignal;

    // With more objects than that a rebuild goes to the pool.
    static constexpr size_t k_RowsAtOnce = 5000;

    RowListCtrl(wxWindow* parent, int id, String section);
    ~RowListCtrl() override;

    // What the slots look at; see FilterScope. Anything, unless somebody knows better.
    void SetFilterScope(FilterScope scope) { m_scope = scope; }
    // Rows are being made on the pool at this moment.
    bool IsRebuilding() const { return m_isRunning; }

    char const* ColumnTitle(int type) const override;
    void InsertKnownColumn(int position, int type) override;
    char const* ColumnMenuTitle(int type) const override;
    void PrepareToDraw(int row) override;
    String GetDisplayText(int row, int column) override;
    wxColour GetRowColor(int row) override;
    wxColour GetRowBGColor(int row) override;
    void PrepareColors(int row, int column, int selected, wxColour& text, wxColour& background) override;
    void CleanupAfterDraw(int row) override;
    void OnListCleared() override;
    void OnInternalIdle() override;

protected:
    int StartWidth(int type) const override;
    void DefaultColumns() override;
    void DoRefill() override;
    void DoSort() override;
    void DoUpdate(Cause cause) override;
    void OnAsleep() override;
    wxString EmptyText() const override;
    bool IsLoading() const override { return Kind::IsLoading(); }
    // Why there is nothing to show at all.
    virtual wxString NothingText() const = 0;

    FilterSignal& TheFilter() { return m_shared->filter; }
    // The row being drawn; null outside, and for an object that is gone.
    Pointer const& Row() const { return m_row; }

private:
    using Rows = RowSet<Kind>;
    using Request = typename Rows::Request;

    // Shared with the rebuild on the pool, which may outlive the control.
    struct Shared {
        FilterSignal filter;
        // The pool's while a rebuild runs there, else the GUI thread's.
        Rows rows;
        ListContents result;
        bool isSame = false;
        std::atomic<bool> isDone{false};
    };

    Request MakeRequest(Reuse reuse) const;
    bool StartOnPool(Reuse reuse);
    void TakeOver();

    boost::shared_ptr<Shared> const m_shared;
    FilterScope m_scope = FilterScope::Anything;
    Reuse m_reuse = Reuse::Nothing;
    bool m_isRunning = false;
    // What came meanwhile: another rebuild, and that the running one is of no use.
    std::optional<Reuse> m_again;
    bool m_isOutdated = false;
    // The contents are what the RowSet last sorted.
    bool m_isShown = false;

    Pointer m_row;
    bool m_isTinted = false;
    Time m_now;
};

// The colour of the scheme for a row; `base` for RowColor::Base.
wxColour RowColour(RowColor color, wxColour const& base);

extern template class RowListCtrl<JobRows>;
extern template class RowListCtrl<EngineRows>;
extern template class RowListCtrl<WorkRows>;

} // namespace vorlan
