#pragma once

#include <corekit/optionmap.h>
#include <corekit/rwlock.h>
#include <corekit/string.h>
#include <corekit/uid.h>
#include <vorlan/fwd.h>
#include <vorlan/product.h>

#include <boost/shared_ptr.hpp>
#include <map>
#include <vector>

namespace vorlan {

class Job;

// The Products that this program knows, and the maker of Jobs from them.
// One per program, reached by s_JobFactory; filled by the Messenger from the Master's messages.
// Any thread. Products handed out are never changed: a new version takes the old one's place.
class JobFactory {
public:
    static JobFactory* const s_JobFactory;

    JobFactory() = default;
    JobFactory(JobFactory const&) = delete;
    JobFactory& operator=(JobFactory const&) = delete;

    // A Job of that type with a fresh id, status Queued, created now.
    // Throws MissingProductException for an unknown type.
    boost::shared_ptr<Job> CreateJob(UID const& type) const;

    boost::shared_ptr<Product const> GetProduct(UID const& type) const; // null for an unknown type
    boost::shared_ptr<Product const> FindProduct(String const& nameOrAlias) const;
    boost::shared_ptr<Product> GetMutableProduct(UID const& type) const; // a copy of the caller's own; null if unknown
    std::vector<UID> ListProducts() const;                               // by name
    boost::shared_ptr<Parameter const> GetTypeParameterInfo(UID const& type, String const& name) const;
    bool AutoDetect(UID const& type, String const& name, OptionMap& values) const;

    static std::vector<String> ListClasses();

    void SetProduct(boost::shared_ptr<Product const> const& product);
    void RemoveProduct(UID const& type); // UID::Null removes all

private:
    mutable RWLock m_mutex;
    std::map<UID, boost::shared_ptr<Product const>> m_products CK_GUARDED_BY(m_mutex);
};

} // namespace vorlan
