#include "certificate.h"

#include "secretfile.h"

#include <corekit/exception.h>
#include <corekit/file.h>
#include <corekit/log.h>
#include <corekit/platform.h>

#include <openssl/bio.h>
#include <openssl/ec.h>
#include <openssl/evp.h>
#include <openssl/pem.h>
#include <openssl/rand.h>
#include <openssl/x509.h>

namespace vorlan::net {

using namespace corekit;

namespace {

template <auto Free>
struct Freer {
    template <class T>
    void operator()(T* object) const {
        Free(object);
    }
};
using BioPtr = std::unique_ptr<BIO, Freer<BIO_free_all>>;
using KeyPtr = std::unique_ptr<EVP_PKEY, Freer<EVP_PKEY_free>>;
using CertificatePtr = std::unique_ptr<X509, Freer<X509_free>>;

constexpr long k_Seconds = 100L * 366 * 24 * 3600;

void Check(bool good) {
    if (!good)
        throw NetException("The certificate of this machine could not be made");
}

String Fingerprint(X509* certificate) {
    unsigned char digest[EVP_MAX_MD_SIZE];
    unsigned size = 0;
    Check(X509_digest(certificate, EVP_sha256(), digest, &size) == 1);
    return ToHex({reinterpret_cast<char const*>(digest), size});
}

CertificatePtr Sign(EVP_PKEY* key) {
    CertificatePtr certificate(X509_new());
    Check(certificate != nullptr);
    uint64_t serial = 0;
    Check(RAND_bytes(reinterpret_cast<unsigned char*>(&serial), sizeof serial) == 1);
    X509_set_version(certificate.get(), 2);
    ASN1_INTEGER_set_uint64(X509_get_serialNumber(certificate.get()), serial >> 1);
    X509_gmtime_adj(X509_getm_notBefore(certificate.get()), -24L * 3600);
    X509_time_adj_ex(X509_getm_notAfter(certificate.get()), static_cast<int>(k_Seconds / 86400), 0, nullptr);
    X509_NAME* const name = X509_get_subject_name(certificate.get());
    // A common name of more than 64 bytes is refused.
    String const text = "Vorlan " + Platform::GetComputerNameA().Mid(0, 48);
    X509_NAME_add_entry_by_txt(name, "CN", MBSTRING_UTF8, reinterpret_cast<unsigned char const*>(text.data()),
                               static_cast<int>(text.size()), -1, 0);
    X509_set_issuer_name(certificate.get(), name);
    Check(X509_set_pubkey(certificate.get(), key) == 1);
    Check(X509_sign(certificate.get(), key, EVP_sha256()) > 0);
    return certificate;
}

} // namespace

String ToHex(std::string_view bytes) {
    String digits;
    digits.reserve(2 * bytes.size());
    for (char const c : bytes) {
        digits += "0123456789abcdef"[static_cast<uint8_t>(c) >> 4];
        digits += "0123456789abcdef"[static_cast<uint8_t>(c) & 15];
    }
    return digits;
}

bool FromHex(std::string_view digits, std::string& bytes) {
    if (digits.size() % 2 != 0)
        return false;
    bytes.clear();
    for (size_t i = 0; i < digits.size(); i += 2) {
        int value = 0;
        for (char const c : digits.substr(i, 2)) {
            size_t const digit = std::string_view("0123456789abcdef").find(String::FoldCase(c));
            if (digit == std::string_view::npos)
                return false;
            value = value * 16 + static_cast<int>(digit);
        }
        bytes.push_back(static_cast<char>(value));
    }
    return true;
}

Certificate Certificate::Fresh() {
    KeyPtr const key(EVP_EC_gen("P-256"));
    Check(key != nullptr);
    CertificatePtr const certificate = Sign(key.get());
    BioPtr const text(BIO_new(BIO_s_mem()));
    Check(PEM_write_bio_PrivateKey(text.get(), key.get(), nullptr, nullptr, 0, nullptr, nullptr) == 1);
    Check(PEM_write_bio_X509(text.get(), certificate.get()) == 1);
    char* data = nullptr;
    long const size = BIO_get_mem_data(text.get(), &data);
    return {String(data, static_cast<size_t>(size)), corekit::String(Fingerprint(certificate.get()))};
}

static bool Read(Path const& path, Certificate& result) {
    result.pem = File::Read(path);
    BioPtr const text(BIO_new_mem_buf(result.pem.data(), static_cast<int>(result.pem.size())));
    KeyPtr const key(PEM_read_bio_PrivateKey(text.get(), nullptr, nullptr, nullptr));
    CertificatePtr const certificate(PEM_read_bio_X509(text.get(), nullptr, nullptr, nullptr));
    if (!key || !certificate || X509_check_private_key(certificate.get(), key.get()) != 1)
        return false;
    result.fingerprint = Fingerprint(certificate.get());
    return true;
}

Certificate Certificate::Load(Path const& machineDir) {
    Path const path = machineDir / "certificate.pem";
    Certificate result;
    if (!path.Exists()) {
        result = Fresh();
        if (CreateSecretFile(path, result.pem))
            return result;
    }
    KeepSecret(path);
    if (Read(path, result))
        return result;
    Path const aside = File::MoveAside(path);
    LogWarning("The certificate of this machine could not be used. It is " + aside + " now, and a new one is made.");
    result = Fresh();
    CreateSecretFile(path, result.pem);
    return result;
}

} // namespace vorlan::net
