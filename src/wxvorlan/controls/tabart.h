#pragma once

#include <wx/aui/tabart.h>

// TabArt draws the tabs of wxvNotebook: flat, the selected one joined to its page with
// an accent line above it.
// Owner: its notebook; each row of tabs has a clone.
// Thread: the GUI thread. Always: colours are read when painting, so that a change of
// the scheme needs no word to it.
class TabArt : public wxAuiTabArt {
public:
    static constexpr int k_Padding = 14;
    static constexpr int k_AccentHeight = 2;
    static constexpr int k_ButtonWidth = 22;

    TabArt();

    wxAuiTabArt* Clone() override { return new TabArt(*this); }
    void SetFlags(unsigned flags) override { m_flags = flags; }
    void SetSizingInfo(wxSize const&, size_t, wxWindow*) override {}
    // The fonts and colours are the interface's own.
    void SetNormalFont(wxFont const&) override {}
    void SetSelectedFont(wxFont const&) override {}
    void SetMeasuringFont(wxFont const&) override {}
    void SetColour(wxColour const&) override {}
    void SetActiveColour(wxColour const&) override {}

    void DrawBorder(wxDC&, wxWindow*, wxRect const&) override {}
    void DrawBackground(wxDC& dc, wxWindow* window, wxRect const& rect) override;
    void DrawTab(wxDC& dc, wxWindow* window, wxAuiNotebookPage const& page, wxRect const& rect, int closeButtonState,
                 wxRect* outTab, wxRect* outButton, int* xExtent) override;
    void DrawButton(wxDC& dc, wxWindow* window, wxRect const& rect, int button, int state, int orientation,
                    wxRect* outRect) override;
    wxSize GetTabSize(wxDC& dc, wxWindow* window, wxString const& caption, wxBitmapBundle const& bitmap, bool active,
                      int closeButtonState, int* xExtent) override;
    int ShowDropDown(wxWindow* window, wxAuiNotebookPageArray const& pages, int active) override;
    int GetIndentSize() override { return 0; }
    int GetBorderWidth(wxWindow*) override { return 0; }
    int GetAdditionalBorderSpace(wxWindow*) override { return 0; }
    int GetBestTabCtrlSize(wxWindow* window, wxAuiNotebookPageArray const& pages, wxSize const& bitmapSize) override;

private:
    wxFont const m_font;
    unsigned m_flags = 0;
};
