#include <vorlan/jobfactory.h>

#include <corekit/exception.h>
#include <corekit/time.h>
#include <vorlan/job.h>
#include <vorlan/jobevents.h>
#include <vorlan/keys.h>

#include <algorithm>
#include <mutex>

namespace vorlan {

namespace {

// Answers who asks for a new Product of a class, unless somebody else has.
class DefaultProductMaker : public HasSlots<ThreadPolicy::LocalThreaded> {
public:
    DefaultProductMaker() { CreateDefaultProductEvt::Signal().Connect(this, &DefaultProductMaker::OnCreate); }

private:
    void OnCreate(CreateDefaultProductEvt& event) {
        ProductClass productClass = ProductClass::VirtualModule;
        Product::ClassFromName(event.productClass, productClass);
        if (!event.product)
            event.product = Product::CreateDefault(productClass);
    }
};

JobFactory& TheFactory() {
    static JobFactory factory;
    return factory;
}

DefaultProductMaker const s_defaultProductMaker;

} // namespace

JobFactory* const JobFactory::s_JobFactory = &TheFactory();

boost::shared_ptr<Job> JobFactory::CreateJob(UID const& type) const {
    if (!GetProduct(type))
        throw MissingProductException(type);
    auto const job = boost::make_shared<Job>(UID(true));
    job->SetValues({{p_Type, type.ToString()}});
    job->SetCreated(Time::CurrentTime());
    return job;
}

boost::shared_ptr<Product const> JobFactory::GetProduct(UID const& type) const {
    RWLock::Reader const reader(m_mutex);
    auto const found = m_products.find(type);
    return found == m_products.end() ? nullptr : found->second;
}

boost::shared_ptr<Product const> JobFactory::FindProduct(String const& nameOrAlias) const {
    RWLock::Reader const reader(m_mutex);
    boost::shared_ptr<Product const> byAlias;
    for (auto const& [type, product] : m_products) {
        if (product->Name().CompareNoCase(nameOrAlias) == 0)
            return product;
        if (!byAlias && product->IsCalled(nameOrAlias))
            byAlias = product;
    }
    return byAlias;
}

boost::shared_ptr<Product> JobFactory::GetMutableProduct(UID const& type) const {
    auto const product = GetProduct(type);
    return product ? boost::make_shared<Product>(*product) : nullptr;
}

std::vector<UID> JobFactory::ListProducts() const {
    std::vector<std::pair<String, UID>> named;
    {
        RWLock::Reader const reader(m_mutex);
        for (auto const& [type, product] : m_products)
            named.emplace_back(product->Name().Lower(), type);
    }
    std::sort(named.begin(), named.end());
    std::vector<UID> types;
    types.reserve(named.size());
    for (auto const& [name, type] : named)
        types.push_back(type);
    return types;
}

boost::shared_ptr<Parameter const> JobFactory::GetTypeParameterInfo(UID const& type, String const& name) const {
    auto const product = GetProduct(type);
    return product ? product->GetParam(name) : nullptr;
}

bool JobFactory::AutoDetect(UID const& type, String const& name, OptionMap& values) const {
    auto const product = GetProduct(type);
    return product && product->AutoDetect(name, values);
}

std::vector<String> JobFactory::ListClasses() {
    return {Product::ClassName(ProductClass::Sequence), Product::ClassName(ProductClass::Single),
            Product::ClassName(ProductClass::OncePerEngine), Product::ClassName(ProductClass::VirtualModule)};
}

void JobFactory::SetProduct(boost::shared_ptr<Product const> const& product) {
    if (!product)
        return;
    boost::shared_ptr<Product const> former = product; // let go of outside the lock
    RWLock::Writer const writer(m_mutex);
    std::swap(m_products[product->Type()], former);
}

void JobFactory::RemoveProduct(UID const& type) {
    std::map<UID, boost::shared_ptr<Product const>> removed; // let go of outside the lock
    RWLock::Writer const writer(m_mutex);
    if (type.IsNull())
        removed.swap(m_products);
    else if (auto node = m_products.extract(type))
        removed.insert(std::move(node));
}

} // namespace vorlan
