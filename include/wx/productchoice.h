#pragma once

#include <corekit/uid.h>
#include <vorlan/fwd.h>

#include <functional>
#include <vector>
#include <wx/wxvchoice.h>

namespace vorlan {

class Product;

// ProductChoice is a choice of one of the Products that this program knows, by name.
// Owner: its parent window. Works with: the JobFactory.
// Thread: the GUI thread.
// Always: two entries never read the same. A choice by the user sends wxEVT_CHOICE.
class ProductChoice : public wxvChoice {
public:
    // True for a Product that is offered.
    using Offers = std::function<bool(Product const&)>;

    // Without `offers` every Product is offered.
    explicit ProductChoice(wxWindow* parent, wxWindowID id = wxID_ANY, Offers offers = {});

    // Lists the Products as they are now; the selected one stays selected if it can.
    void Fill();

    // A Product that is not offered selects none, and answers false.
    bool SelectProduct(UID const& type);
    UID GetProduct() const; // null UID: none
    UID GetProduct(unsigned index) const;

private:
    Offers const m_offers;
    std::vector<UID> m_types; // one per entry
};

} // namespace vorlan
