#pragma once

#include <corekit/path.h>
#include <corekit/string.h>

#include <array>
#include <cstdint>
#include <string_view>

namespace vorlan {

// FarmKey is the secret that all machines of one farm share. Whoever proves it is
// trusted; it never goes over the network itself.
// A value of its own; copies may go to any thread.
// Works with: the file "farm.key" of the machine folder (mode 0600).
class FarmKey {
public:
    static constexpr size_t k_Size = 32;
    using Bytes = std::array<uint8_t, k_Size>;

    // Null: no key at all.
    FarmKey() = default;

    // Null when the machine has none yet. Throws FileException or ParseException,
    // with what to do, when its file cannot be used.
    static FarmKey Load(corekit::Path const& machineDir);
    // Makes a key for a new farm, unless another program was quicker: then that
    // one is taken. Throws FileException.
    static FarmKey Create(corekit::Path const& machineDir);
    static FarmKey LoadOrCreate(corekit::Path const& machineDir);
    // A key that lives in memory alone.
    static FarmKey Fresh();

    // Takes the line that Text() gives. Throws ParseException.
    static FarmKey FromText(std::string_view line);
    // The key and the fingerprint of the certificate of the machine that made it,
    // one line.
    corekit::String Text() const;
    // Stores the key of another farm on this machine, in place of one that is
    // there. Throws FileException.
    void Join(corekit::Path const& machineDir) const;

    static corekit::Path FilePath(corekit::Path const& machineDir);

    bool IsNull() const { return m_bytes == Bytes{}; }
    // The key came from another machine: a Master here starts as a standby.
    bool IsJoined() const { return m_joined; }
    // SHA-256 of the certificate, in hexadecimal; empty for a key made in memory.
    corekit::String const& Fingerprint() const { return m_fingerprint; }

    // HMAC-SHA256 of the data under this key. `purpose` keeps the proofs of
    // different talks apart.
    Bytes Proof(std::string_view purpose, std::string_view data) const;
    // Compares in constant time. False for a null key.
    bool Verify(std::string_view purpose, std::string_view data, std::string_view proof) const;

    bool operator==(FarmKey const& other) const { return m_bytes == other.m_bytes; }

private:
    Bytes m_bytes{};
    corekit::String m_fingerprint;
    bool m_joined = false;
};

} // namespace vorlan
