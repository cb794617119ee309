#include "wxtest.h"

#include <memory>
#include <wx/sizer.h>

WindowTest::WindowTest(wxSize const& size) : m_frame(new wxFrame(nullptr, wxID_ANY, "Test", wxPoint(20, 20), size)) {}

WindowTest::~WindowTest() {
    m_frame->Destroy();
    Pump();
}

void WindowTest::Show(wxWindow* control) {
    auto* const sizer = new wxBoxSizer(wxVERTICAL);
    sizer->Add(control, wxSizerFlags(1).Expand());
    m_frame->SetSizer(sizer);
    auto const painted = std::make_shared<bool>(false);
    control->Bind(wxEVT_PAINT, [painted](wxPaintEvent& event) {
        *painted = true;
        event.Skip();
    });
    m_frame->Show();
    m_frame->Raise();
    EXPECT_TRUE(PumpUntil([&] { return *painted && m_frame->IsActive(); }));
    m_frame->Layout();
    control->SetFocus();
    EXPECT_TRUE(PumpUntil([control] { return control->HasFocus(); }));
}
