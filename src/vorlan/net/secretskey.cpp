#include <vorlan/secretskey.h>

#include "certificate.h"
#include "secretfile.h"

#include <corekit/exception.h>
#include <corekit/file.h>

#include <openssl/evp.h>
#include <openssl/rand.h>

#include <memory>

namespace vorlan {

using namespace corekit;

namespace {

constexpr char k_SecretsPrefix[] = "vorlansecrets1";

// No body of a row and no message begins with this byte.
constexpr std::string_view k_Mark = "\xc1VS1";
constexpr size_t k_NonceSize = 12;
constexpr size_t k_TagSize = 16;

struct CipherFreer {
    void operator()(EVP_CIPHER_CTX* context) const { EVP_CIPHER_CTX_free(context); }
};
using Cipher = std::unique_ptr<EVP_CIPHER_CTX, CipherFreer>;

unsigned char const* BytesOf(std::string_view text) { return reinterpret_cast<unsigned char const*>(text.data()); }

} // namespace

Path SecretsKey::FilePath(Path const& machineDir) { return machineDir / "secrets.key"; }

SecretsKey SecretsKey::LoadOrCreate(Path const& machineDir) {
    Path const path = FilePath(machineDir);
    SecretsKey key;
    if (!path.Exists()) {
        if (RAND_bytes(key.m_bytes.data(), static_cast<int>(k_Size)) != 1)
            throw NetException("This machine has no random numbers for a secrets key");
        String const digits = net::ToHex({reinterpret_cast<char const*>(key.m_bytes.data()), k_Size});
        if (net::CreateSecretFile(path, String(k_SecretsPrefix) + "-" + digits + k_NL))
            return key;
    }
    net::KeepSecret(path);
    String const line = File::Read(path).Trim();
    std::string bytes;
    if (line.LeftFirst("-") != k_SecretsPrefix || !net::FromHex(line.RightFirst("-"), bytes) || bytes.size() != k_Size)
        throw ParseException("The secrets key in " + path +
                             " is damaged. Bring it back from a backup; without one move it away, and the passwords of "
                             "stored Jobs must be given again");
    std::copy(bytes.begin(), bytes.end(), key.m_bytes.begin());
    return key;
}

bool SecretsKey::IsSealed(std::string_view bytes) { return bytes.starts_with(k_Mark); }

String SecretsKey::Seal(std::string_view bytes, std::string_view place) const {
    std::string sealed(k_Mark);
    sealed.resize(k_Mark.size() + k_NonceSize + bytes.size() + k_TagSize);
    auto* const nonce = reinterpret_cast<unsigned char*>(sealed.data() + k_Mark.size());
    unsigned char* const text = nonce + k_NonceSize;
    Cipher const cipher(EVP_CIPHER_CTX_new());
    int length = 0;
    bool const done =
        cipher && RAND_bytes(nonce, static_cast<int>(k_NonceSize)) == 1 &&
        EVP_EncryptInit_ex(cipher.get(), EVP_aes_256_gcm(), nullptr, m_bytes.data(), nonce) == 1 &&
        EVP_EncryptUpdate(cipher.get(), nullptr, &length, BytesOf(place), static_cast<int>(place.size())) == 1 &&
        EVP_EncryptUpdate(cipher.get(), text, &length, BytesOf(bytes), static_cast<int>(bytes.size())) == 1 &&
        EVP_EncryptFinal_ex(cipher.get(), text + length, &length) == 1 &&
        EVP_CIPHER_CTX_ctrl(cipher.get(), EVP_CTRL_GCM_GET_TAG, static_cast<int>(k_TagSize), text + bytes.size()) == 1;
    if (!done)
        throw NetException("A password could not be encrypted");
    return String(std::move(sealed));
}

String SecretsKey::Unseal(std::string_view sealed, std::string_view place) const {
    std::string bytes;
    if (IsSealed(sealed) && sealed.size() >= k_Mark.size() + k_NonceSize + k_TagSize) {
        std::string_view const nonce = sealed.substr(k_Mark.size(), k_NonceSize);
        std::string_view const text =
            sealed.substr(k_Mark.size() + k_NonceSize, sealed.size() - k_Mark.size() - k_NonceSize - k_TagSize);
        std::string tag(sealed.substr(sealed.size() - k_TagSize));
        bytes.resize(text.size());
        auto* const out = reinterpret_cast<unsigned char*>(bytes.data());
        Cipher const cipher(EVP_CIPHER_CTX_new());
        int length = 0;
        if (cipher &&
            EVP_DecryptInit_ex(cipher.get(), EVP_aes_256_gcm(), nullptr, m_bytes.data(), BytesOf(nonce)) == 1 &&
            EVP_DecryptUpdate(cipher.get(), nullptr, &length, BytesOf(place), static_cast<int>(place.size())) == 1 &&
            EVP_DecryptUpdate(cipher.get(), out, &length, BytesOf(text), static_cast<int>(text.size())) == 1 &&
            EVP_CIPHER_CTX_ctrl(cipher.get(), EVP_CTRL_GCM_SET_TAG, static_cast<int>(k_TagSize), tag.data()) == 1 &&
            EVP_DecryptFinal_ex(cipher.get(), out + length, &length) == 1)
            return String(std::move(bytes));
    }
    throw ParseException("What was encrypted cannot be read with this secrets key");
}

} // namespace vorlan
