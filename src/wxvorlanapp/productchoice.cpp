#include <vorlan/jobfactory.h>
#include <vorlan/product.h>

#include <algorithm>
#include <wx/productchoice.h>
#include <wx/wxvtext.h>

namespace vorlan {

ProductChoice::ProductChoice(wxWindow* parent, wxWindowID id, Offers offers)
    : wxvChoice(parent, id), m_offers(std::move(offers)) {
    Fill();
}

void ProductChoice::Fill() {
    UID const selected = GetProduct();
    std::vector<boost::shared_ptr<Product const>> products;
    for (UID const& type : JobFactory::s_JobFactory->ListProducts()) {
        boost::shared_ptr<Product const> const product = JobFactory::s_JobFactory->GetProduct(type);
        if (product && (!m_offers || m_offers(*product)))
            products.push_back(product);
    }
    std::stable_sort(products.begin(), products.end(),
                     [](auto const& a, auto const& b) { return String::CompareNoCase(a->Name(), b->Name()) < 0; });

    wxArrayString names;
    m_types.clear();
    for (boost::shared_ptr<Product const> const& product : products) {
        wxString name = wxvText(product->Name());
        if (names.Index(name) != wxNOT_FOUND)
            name += " (" + wxvText(product->Type().ToString()) + ")";
        names.Add(name);
        m_types.push_back(product->Type());
    }
    Set(names);
    SelectProduct(selected);
    InvalidateBestSize();
}

bool ProductChoice::SelectProduct(UID const& type) {
    auto const found = std::find(m_types.begin(), m_types.end(), type);
    SetSelection(found == m_types.end() ? wxNOT_FOUND : static_cast<int>(found - m_types.begin()));
    return found != m_types.end();
}

UID ProductChoice::GetProduct() const {
    int const selected = GetSelection();
    return selected == wxNOT_FOUND ? UID() : GetProduct(static_cast<unsigned>(selected));
}

UID ProductChoice::GetProduct(unsigned index) const { return index < m_types.size() ? m_types[index] : UID(); }

} // namespace vorlan
