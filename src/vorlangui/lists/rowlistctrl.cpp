#include "rowlistctrl.h"

#include <boost/make_shared.hpp>
#include <corekit/callentry.h>
#include <corekit/threadpool.h>
#include <wx/app.h>
#include <wx/intl.h>
#include <wx/wxvcolors.h>
#include <wx/wxvtext.h>

namespace vorlan {

namespace {

// How much red the background of a row with failures has.
constexpr double k_Tint = 0.1;

wxColour Tinted(wxColour const& base) {
    auto const mix = [](unsigned char red, unsigned char channel) {
        return static_cast<unsigned char>(red * k_Tint + channel * (1 - k_Tint));
    };
    return wxColour(mix(255, base.Red()), mix(0, base.Green()), mix(0, base.Blue()));
}

} // namespace

wxColour RowColour(RowColor color, wxColour const& base) {
    switch (color) {
    case RowColor::Green:
        return wxvGetColor(ColorName::TextGreen);
    case RowColor::Cyan:
        return wxvGetColor(ColorName::TextCyan);
    case RowColor::Blue:
        return wxvGetColor(ColorName::TextBlue);
    case RowColor::Grey:
        return wxvGetColor(ColorName::TextGrey);
    case RowColor::Yellow:
        return wxvGetColor(ColorName::TextYellow);
    case RowColor::Indigo:
        return wxvGetColor(ColorName::TextIndigo);
    case RowColor::DarkCyan:
        return wxvGetColor(ColorName::TextDarkCyan);
    case RowColor::DarkViolet:
        return wxvGetColor(ColorName::TextDarkViolet);
    case RowColor::Base:
        break;
    }
    return base;
}

template <class Kind>
RowListCtrl<Kind>::RowListCtrl(wxWindow* parent, int id, String section)
    : ListCtrlBase(parent, id, std::move(section)), m_shared(boost::make_shared<Shared>()) {}

template <class Kind>
RowListCtrl<Kind>::~RowListCtrl() {
    DisconnectAll();
}

template <class Kind>
void RowListCtrl<Kind>::DefaultColumns() {
    for (int const type : Kind::Defaults())
        InsertKnownColumn(GetColumnCount(), type);
}

template <class Kind>
void RowListCtrl<Kind>::InsertKnownColumn(int position, int type) {
    auto const* const column = Kind::Find(type);
    if (!column)
        return;
    int const at = position < 0 ? GetColumnCount() : std::min(position, GetColumnCount());
    InsertColumn(at, type, wxvString(wxGetTranslation(column->title)), String(), FromDIP(column->width));
    SetColumnWidth(at, std::max(GetColumnWidth(static_cast<size_t>(at)), GetLabelWidth(at)));
}

template <class Kind>
int RowListCtrl<Kind>::StartWidth(int type) const {
    auto const* const column = Kind::Find(type);
    return column ? column->width : ColumnWidth::Word;
}

template <class Kind>
char const* RowListCtrl<Kind>::ColumnMenuTitle(int type) const {
    auto const* const column = Kind::Find(type);
    return column && column->menuTitle ? column->menuTitle : ColumnTitle(type);
}

template <class Kind>
char const* RowListCtrl<Kind>::ColumnTitle(int type) const {
    auto const* const column = Kind::Find(type);
    return column ? column->title : nullptr;
}

// ------------------------------------------------------------------- rebuild

template <class Kind>
auto RowListCtrl<Kind>::MakeRequest(Reuse reuse) const -> Request {
    Request request;
    request.order = GetSortOrder();
    request.reuse = reuse;
    request.scope = m_scope;
    request.now = Time::CurrentTime();
    if (!m_shared->filter.Empty())
        request.filter = boost::shared_ptr<FilterSignal const>(m_shared, &m_shared->filter);
    return request;
}

template <class Kind>
void RowListCtrl<Kind>::DoUpdate(Cause cause) {
    Reuse const reuse = cause == Cause::Changes ? Reuse::Unchanged : Reuse::Nothing;
    if (m_isRunning) {
        m_again = m_again ? std::min(*m_again, reuse) : reuse;
        return;
    }
    if (Kind::Count() > k_RowsAtOnce && StartOnPool(reuse))
        return;
    m_reuse = reuse;
    ListCtrlBase::DoUpdate(cause);
    m_isShown = true;
}

template <class Kind>
void RowListCtrl<Kind>::DoRefill() {
    m_shared->rows.Refill(MakeRequest(m_reuse));
    Contents() = m_shared->rows.Unsorted();
}

template <class Kind>
void RowListCtrl<Kind>::DoSort() {
    if (m_isRunning) {
        m_isOutdated = true;
        m_again = m_again.value_or(Reuse::Unchanged);
        return;
    }
    Rows& rows = m_shared->rows;
    bool const isForgotten = rows.ObjectCount() == 0 && !Contents().empty();
    if (isForgotten || rows.ObjectCount() > k_RowsAtOnce) {
        DoUpdate(Cause::Changes);
        return;
    }
    rows.Sort(MakeRequest(m_reuse));
    Contents() = rows.Sorted();
    Redraw();
}

template <class Kind>
bool RowListCtrl<Kind>::StartOnPool(Reuse reuse) {
    m_shared->isDone.store(false, std::memory_order_relaxed);
    m_isRunning = ThreadPool::Queue([shared = m_shared, request = MakeRequest(reuse)] {
        CALL_ENTRY_NAMED("RowListCtrl::Rebuild");
        shared->rows.Rebuild(request);
        shared->isSame = shared->rows.IsSame();
        shared->result = shared->isSame ? ListContents() : shared->rows.Sorted();
        shared->isDone.store(true, std::memory_order_release);
        wxWakeUpIdle();
    });
    m_isOutdated = false;
    return m_isRunning;
}

template <class Kind>
void RowListCtrl<Kind>::TakeOver() {
    if (!m_isRunning || !m_shared->isDone.load(std::memory_order_acquire))
        return;
    m_isRunning = false;
    std::optional<Reuse> const again = std::exchange(m_again, std::nullopt);
    if (m_isOutdated) {
        m_isShown = false;
        m_shared->result.clear();
    } else if (m_isShown && m_shared->isSame) {
        Redraw();
    } else {
        Replace(m_shared->isSame ? m_shared->rows.Sorted() : std::exchange(m_shared->result, ListContents()));
        m_isShown = true;
    }
    if (again)
        DoUpdate(*again == Reuse::Unchanged ? Cause::Changes : Cause::Asked);
}

template <class Kind>
void RowListCtrl<Kind>::OnInternalIdle() {
    ListCtrlBase::OnInternalIdle();
    TakeOver();
}

template <class Kind>
void RowListCtrl<Kind>::OnListCleared() {
    m_isShown = false;
    if (m_isRunning) {
        m_isOutdated = true;
        m_again = Reuse::Nothing;
    } else {
        OnAsleep();
    }
    ListCtrlBase::OnListCleared();
}

template <class Kind>
void RowListCtrl<Kind>::OnAsleep() {
    if (m_isRunning)
        return;
    m_isShown = false;
    auto former = boost::make_shared<Rows>(std::exchange(m_shared->rows, Rows()));
    if (former->ObjectCount() > k_RowsAtOnce)
        ThreadPool::Queue([former = std::move(former)] {});
}

template <class Kind>
wxString RowListCtrl<Kind>::EmptyText() const {
    return Kind::Count() == 0 ? NothingText() : wxString(_("Nothing matches the filter."));
}

// ------------------------------------------------------------------- drawing

template <class Kind>
void RowListCtrl<Kind>::PrepareToDraw(int row) {
    m_row = Kind::FindObject(GetRowID(row));
    m_isTinted = m_row && Kind::IsTinted(*m_row);
    m_now = Time::CurrentTime();
}

template <class Kind>
void RowListCtrl<Kind>::CleanupAfterDraw(int) {
    m_row.reset();
}

template <class Kind>
String RowListCtrl<Kind>::GetDisplayText(int, int column) {
    if (!m_row)
        return String();
    auto const* const kind = Kind::Find(GetColumnType(static_cast<size_t>(column)));
    return kind ? kind->text(*m_row, GetColumn(column).custom, m_now) : String();
}

template <class Kind>
wxColour RowListCtrl<Kind>::GetRowColor(int row) {
    wxColour const base = ListCtrlBase::GetRowColor(row);
    return m_row ? RowColour(Kind::Color(*m_row, m_now), base) : base;
}

template <class Kind>
wxColour RowListCtrl<Kind>::GetRowBGColor(int row) {
    wxColour const base = ListCtrlBase::GetRowBGColor(row);
    return m_isTinted ? Tinted(base) : base;
}

template <class Kind>
void RowListCtrl<Kind>::PrepareColors(int row, int column, int selected, wxColour& text, wxColour& background) {
    ListCtrlBase::PrepareColors(row, column, selected, text, background);
    if (m_isTinted)
        text = wxvReadableColor(text, background, wxvGetColor(ColorName::Text));
}

template class RowListCtrl<JobRows>;
template class RowListCtrl<EngineRows>;
template class RowListCtrl<WorkRows>;

} // namespace vorlan
