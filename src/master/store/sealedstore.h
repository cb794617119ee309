#pragma once

#include "master/store/store.h"

#include <vorlan/secretskey.h>

#include <memory>

namespace farm {

// A store whose rows with a password are encrypted: whoever has its file alone reads none.
//
// Owned by the Master's shell, like any store; owns the store behind it. Rows from before
// there was a key are encrypted when they are loaded.
class SealedStore : public Store {
public:
    SealedStore(std::unique_ptr<Store> store, vorlan::SecretsKey key)
        : m_store(std::move(store)), m_key(std::move(key)) {}

    void LoadAll(std::function<void(Record const&)> const& take) override;
    void Commit(std::span<Record const> records) override;
    bool Tidy() override { return m_store->Tidy(); }

private:
    std::unique_ptr<Store> const m_store;
    vorlan::SecretsKey const m_key;
};

} // namespace farm
