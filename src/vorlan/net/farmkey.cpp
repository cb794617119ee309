#include <vorlan/farmkey.h>

#include "certificate.h"
#include "secretfile.h"

#include <corekit/exception.h>
#include <corekit/file.h>
#include <corekit/log.h>

#include <openssl/crypto.h>
#include <openssl/evp.h>
#include <openssl/hmac.h>
#include <openssl/rand.h>

namespace vorlan {

using namespace corekit;

namespace {

constexpr char k_Prefix[] = "vorlan1";
constexpr char k_Made[] = "made here";
constexpr char k_Joined[] = "joined";
constexpr size_t k_FingerprintDigits = 64;

ParseException BadKey() {
    return ParseException(
        "That is no farm key. Give the whole line that `vorlan key show` prints on the Master's machine");
}

} // namespace

Path FarmKey::FilePath(Path const& machineDir) { return machineDir / "farm.key"; }

FarmKey FarmKey::FromText(std::string_view text) {
    String const line = String(text).Trim();
    FarmKey key;
    String const digits = line.RightFirst("-").LeftFirst("-");
    String const fingerprint = line.RightFirst("-").Contains("-") ? line.RightLast("-") : String();
    std::string bytes;
    std::string ignored;
    if (line.LeftFirst("-") != k_Prefix || !net::FromHex(digits, bytes) || bytes.size() != k_Size ||
        (!fingerprint.Empty() && (fingerprint.size() != k_FingerprintDigits || !net::FromHex(fingerprint, ignored))))
        throw BadKey();
    std::copy(bytes.begin(), bytes.end(), key.m_bytes.begin());
    key.m_fingerprint = fingerprint.Lower();
    key.m_joined = true;
    if (key.IsNull() || key.Text() != line.Lower())
        throw BadKey();
    return key;
}

String FarmKey::Text() const {
    String const text =
        String(k_Prefix) + "-" + net::ToHex({reinterpret_cast<char const*>(m_bytes.data()), m_bytes.size()});
    return m_fingerprint.Empty() ? text : text + "-" + m_fingerprint;
}

FarmKey FarmKey::Fresh() {
    FarmKey key;
    if (RAND_bytes(key.m_bytes.data(), static_cast<int>(k_Size)) != 1)
        throw NetException("This machine has no random numbers for a farm key");
    return key;
}

FarmKey FarmKey::Load(Path const& machineDir) {
    Path const path = FilePath(machineDir);
    if (!path.Exists())
        return {};
    net::KeepSecret(path);
    String const text = File::Read(path);
    try {
        FarmKey key = FromText(text.LeftFirst("\n"));
        key.m_joined = text.RightFirst("\n").Trim() != k_Made;
        return key;
    } catch (ParseException const&) {
        throw ParseException("The farm key in " + path +
                             " is damaged. Run `vorlan key show` on the Master's machine and `vorlan key join "
                             "<host> <line>` here; on the Master's machine itself move the file away");
    }
}

FarmKey FarmKey::Create(Path const& machineDir) {
    FarmKey key = Fresh();
    key.m_fingerprint = net::Certificate::Load(machineDir).fingerprint;
    if (!net::CreateSecretFile(FilePath(machineDir), key.Text() + k_NL + k_Made + k_NL))
        return Load(machineDir);
    LogSystem("Made the key of a new farm: " + FilePath(machineDir));
    return key;
}

FarmKey FarmKey::LoadOrCreate(Path const& machineDir) {
    FarmKey const key = Load(machineDir);
    return key.IsNull() ? Create(machineDir) : key;
}

void FarmKey::Join(Path const& machineDir) const {
    File::MakeFolder(machineDir);
    File::WriteWhole(FilePath(machineDir), Text() + k_NL + k_Joined + k_NL, 0600);
}

FarmKey::Bytes FarmKey::Proof(std::string_view purpose, std::string_view data) const {
    // The length in front keeps purpose and data apart.
    std::string covered(1, static_cast<char>(purpose.size()));
    covered += purpose;
    covered += data;
    Bytes proof{};
    unsigned size = k_Size;
    if (!HMAC(EVP_sha256(), m_bytes.data(), static_cast<int>(k_Size),
              reinterpret_cast<unsigned char const*>(covered.data()), covered.size(), proof.data(), &size))
        throw NetException("The proof of the farm key could not be made");
    return proof;
}

bool FarmKey::Verify(std::string_view purpose, std::string_view data, std::string_view proof) const {
    if (IsNull() || proof.size() != k_Size)
        return false;
    return CRYPTO_memcmp(Proof(purpose, data).data(), proof.data(), k_Size) == 0;
}

} // namespace vorlan
