#include "librarymessages.h"

#include <corekit/exception.h>
#include <vorlan/commonengine.h>
#include <vorlan/events.h>
#include <vorlan/failures.h>
#include <vorlan/jobfactory.h>
#include <vorlan/messages.h>
#include <vorlan/productfile.h>

namespace vorlan {

void LibraryMessages::BeginLoad() {
    m_loading = true;
    m_loaded.clear();
    m_loadedOptions.clear();
}

void LibraryMessages::EndLoad() {
    if (!std::exchange(m_loading, false))
        return;
    for (UID const& type : JobFactory::s_JobFactory->ListProducts()) {
        if (!m_loaded.contains(type))
            JobFactory::s_JobFactory->RemoveProduct(type);
    }
    m_loaded.clear();
    CommonMutex::Lock const lock(m_guard);
    std::erase_if(m_engineOptions, [this](auto const& entry) { return !m_loadedOptions.contains(entry.first); });
}

bool LibraryMessages::TakeMessage(Message const& message) {
    UID const& type = message.Type();
    if (type == ProductMsg::s_Type) {
        boost::shared_ptr<Product> const product = ProductFromText(static_cast<ProductMsg const&>(message).text);
        JobFactory::s_JobFactory->SetProduct(product);
        if (m_loading)
            m_loaded.insert(product->Type());
    } else if (type == RemoveProductMsg::s_Type) {
        UID const& product = static_cast<RemoveProductMsg const&>(message).product;
        // The null id would remove all.
        if (!product.IsNull())
            JobFactory::s_JobFactory->RemoveProduct(product);
        m_loaded.erase(product);
    } else if (type == DefaultEngineMsg::s_Type) {
        CommonEngine::SetDefaultEngine(static_cast<DefaultEngineMsg const&>(message).engine);
    } else if (type == DefaultEngineOptionsMsg::s_Type) {
        auto const& told = static_cast<DefaultEngineOptionsMsg const&>(message);
        {
            CommonMutex::Lock const lock(m_guard);
            m_engineOptions[told.product] = told.options;
        }
        m_loadedOptions.insert(told.product);
        EngineDefaultChangedEvt().Trigger();
    } else if (type == FailureArchiveMsg::s_Type) {
        Failures::ReplaceAll(static_cast<FailureArchiveMsg const&>(message).items);
    } else if (type == PathTranslationsMsg::s_Type) {
        CommonMutex::Lock const lock(m_guard);
        m_translations = static_cast<PathTranslationsMsg const&>(message).translations;
    } else {
        return false;
    }
    return true;
}

OptionMap LibraryMessages::DefaultEngineOptions(UID const& product) const {
    CommonMutex::Lock const lock(m_guard);
    auto const found = m_engineOptions.find(product);
    return found == m_engineOptions.end() ? OptionMap() : found->second;
}

std::vector<std::map<String, String>> LibraryMessages::PathTranslations() const {
    CommonMutex::Lock const lock(m_guard);
    return m_translations;
}

} // namespace vorlan
