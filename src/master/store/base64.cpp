#include "master/store/base64.h"

#include "master/store/store.h"

#include <openssl/evp.h>

namespace farm {

std::string EncodeBase64(std::string_view bytes) {
    std::string text((bytes.size() + 2) / 3 * 4 + 1, '\0');
    int const length =
        EVP_EncodeBlock(reinterpret_cast<unsigned char*>(text.data()),
                        reinterpret_cast<unsigned char const*>(bytes.data()), static_cast<int>(bytes.size()));
    text.resize(static_cast<size_t>(length));
    return text;
}

corekit::String DecodeBase64(std::string_view text) {
    std::string bytes(text.size() / 4 * 3 + 1, '\0');
    int const length =
        EVP_DecodeBlock(reinterpret_cast<unsigned char*>(bytes.data()),
                        reinterpret_cast<unsigned char const*>(text.data()), static_cast<int>(text.size()));
    if (length < 0)
        throw StoreException("The store holds a record that is damaged.");
    size_t const padding = text.ends_with("==") ? 2 : text.ends_with("=") ? 1 : 0;
    bytes.resize(static_cast<size_t>(length) - padding);
    return corekit::String(std::move(bytes));
}

} // namespace farm
