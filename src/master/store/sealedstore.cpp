#include "master/store/sealedstore.h"

#include <corekit/log.h>
#include <corekit/sformat.h>
#include <vorlan/keys.h>

#include <algorithm>
#include <vector>

namespace farm {

using corekit::SFormat;
using corekit::String;
using vorlan::SecretsKey;

namespace {

// Names of values stand in a body as they are. One that merely speaks of a password is
// encrypted as well.
bool HoldsPassword(Record const& record) {
    return record.op == Record::Op::Put && record.body.Contains(vorlan::p_Password) &&
           !SecretsKey::IsSealed(record.body);
}

String PlaceOf(Record const& record) {
    return SFormat("%d/%llu", static_cast<int>(record.kind), static_cast<unsigned long long>(record.number));
}

} // namespace

void SealedStore::LoadAll(std::function<void(Record const&)> const& take) {
    std::vector<Record> open;
    size_t locked = 0;
    m_store->LoadAll([&](Record const& record) {
        if (!SecretsKey::IsSealed(record.body)) {
            if (HoldsPassword(record))
                open.push_back(record);
            take(record);
            return;
        }
        try {
            Record plain = record;
            plain.body = m_key.Unseal(record.body, PlaceOf(record));
            take(plain);
        } catch (corekit::ParseException const&) {
            ++locked;
        }
    });
    if (locked > 0) {
        corekit::LogError(SFormat("%zu rows of the store were encrypted with another secrets key and are left out. "
                                  "Bring back the file secrets.key from the backup of this store, and start the "
                                  "Master again.",
                                  locked));
    }
    try {
        Commit(open);
    } catch (StoreException const& error) {
        corekit::LogWarning("Passwords in the store are not encrypted yet. " + error.Message());
    }
}

void SealedStore::Commit(std::span<Record const> records) {
    if (std::none_of(records.begin(), records.end(), HoldsPassword))
        return m_store->Commit(records);
    std::vector<Record> sealed(records.begin(), records.end());
    for (Record& record : sealed) {
        if (HoldsPassword(record))
            record.body = m_key.Seal(record.body, PlaceOf(record));
    }
    m_store->Commit(sealed);
}

} // namespace farm
