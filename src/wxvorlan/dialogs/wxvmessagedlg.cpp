#include <memory>
#include <numbers>
#include <wx/dcbuffer.h>
#include <wx/graphics.h>
#include <wx/intl.h>
#include <wx/sizer.h>
#include <wx/wxvcolors.h>
#include <wx/wxvmessagedlg.h>

namespace {

constexpr int k_MarkSize = 24;
constexpr int k_MessageWidth = 400;

ColorName MarkColor(MessageKind kind) { return kind == MessageKind::Error ? ColorName::TextRed : ColorName::TextBlue; }

// Mark is the sign of a message's kind, in the manner of the toolbar's pictures.
// Owner: the dialog. Thread: the GUI thread.
class Mark : public wxWindow {
public:
    Mark(wxWindow* parent, MessageKind kind) : wxWindow(parent, wxID_ANY), m_kind(kind) {
        SetBackgroundStyle(wxBG_STYLE_PAINT);
        SetMinSize(FromDIP(wxSize(k_MarkSize, k_MarkSize)));
        Bind(wxEVT_PAINT, &Mark::OnPaint, this);
    }

private:
    void OnPaint(wxPaintEvent&) {
        wxAutoBufferedPaintDC dc(this);
        dc.SetBackground(wxvGetColor(ColorName::WindowBG));
        dc.Clear();
        std::unique_ptr<wxGraphicsContext> const graphics(wxGraphicsContext::Create(dc));
        double const unit = GetClientSize().x / static_cast<double>(k_MarkSize);
        graphics->Scale(unit, unit);
        wxColour const color = wxvGetColor(MarkColor(m_kind));
        graphics->SetPen(graphics->CreatePen(wxGraphicsPenInfo(color, 1.75).Cap(wxCAP_ROUND)));
        graphics->SetBrush(*wxTRANSPARENT_BRUSH);
        wxGraphicsPath path = graphics->CreatePath();
        path.AddCircle(12, 12, 10);
        AddSign(path);
        graphics->StrokePath(path);
        graphics->SetPen(*wxTRANSPARENT_PEN);
        graphics->SetBrush(color);
        double const dot = m_kind == MessageKind::Information ? 7.75 : 16.5;
        graphics->DrawEllipse(12 - 1.1, dot - 1.1, 2.2, 2.2);
    }

    void AddSign(wxGraphicsPath& path) const {
        switch (m_kind) {
        case MessageKind::Information:
            path.MoveToPoint(12, 11.5);
            path.AddLineToPoint(12, 16.5);
            break;
        case MessageKind::Error:
            path.MoveToPoint(12, 7.25);
            path.AddLineToPoint(12, 12.75);
            break;
        case MessageKind::Question:
            path.MoveToPoint(9.4, 9.4);
            path.AddArc(12, 9.4, 2.6, std::numbers::pi, std::numbers::pi * 0.3, true);
            path.AddCurveToPoint(12.6, 12.2, 12, 12.4, 12, 13.4);
            break;
        }
    }

    MessageKind const m_kind;
};

} // namespace

wxvMessageDlg::wxvMessageDlg(wxWindow* parent, wxString const& title, wxString const& message, MessageKind kind,
                             wxString const& details, wxString const& accept, DefaultButton preset)
    : wxVorlanDlg(parent, title, corekit::String()), m_message(message) {
    auto* texts = new wxBoxSizer(wxVERTICAL);
    int const width = FromDIP(k_MessageWidth);
    wxvStaticText* const first = NewParagraph(message, width, details.empty() ? 1.0 : k_HeadingScale);
    // The first line stands beside the middle of the mark.
    texts->AddSpacer((FromDIP(k_MarkSize) - first->GetCharHeight()) / 2);
    texts->Add(first);
    if (!details.empty())
        texts->Add(NewParagraph(details, width), wxSizerFlags().Border(wxTOP, FromDIP(k_LabelGap)));
    auto* content = new wxBoxSizer(wxHORIZONTAL);
    content->Add(new Mark(this, kind));
    content->Add(texts, wxSizerFlags(1).Border(wxLEFT, FromDIP(k_Margin)));
    content->AddSpacer(FromDIP(k_Margin));
    bool const asks = kind == MessageKind::Question;
    Finish(content, accept.empty() ? _("OK") : accept, asks ? _("Cancel") : wxString(), preset);
}

void wxvMessageDlg::Tell(wxWindow* parent, wxString const& title, wxString const& message, MessageKind kind) {
    wxvMessageDlg(parent, title, message, kind).ShowModal();
}

bool wxvMessageDlg::MayEnd(wxWindow* parent, wxString const& title, wxString const& question, wxString const& details,
                           wxString const& accept) {
    return wxvMessageDlg(parent, title, question, MessageKind::Question, details, accept, DefaultButton::Cancel)
               .ShowModal() == wxID_OK;
}
