#pragma once

#include <corekit/path.h>
#include <corekit/string.h>

#include <array>
#include <cstdint>
#include <string_view>

namespace vorlan {

// SecretsKey is the key under which the passwords of a farm lie in its store. It is made
// with the farm key and kept when that one is replaced: what was encrypted can be read
// again. Without it the passwords are lost, so it is part of a backup.
// A value of its own; copies may go to any thread.
// Works with: the file "secrets.key" of the machine folder (mode 0600).
class SecretsKey {
public:
    static constexpr size_t k_Size = 32;

    // Throws FileException or ParseException, with what to do, when its file cannot be used.
    static SecretsKey LoadOrCreate(corekit::Path const& machineDir);
    static corekit::Path FilePath(corekit::Path const& machineDir);

    // The bytes encrypted, so that only this key opens them, and only with the same
    // `place`: they cannot be moved to another row. Throws NetException when this machine
    // has no random numbers.
    corekit::String Seal(std::string_view bytes, std::string_view place) const;
    // Whether Seal has made them.
    static bool IsSealed(std::string_view bytes);
    // The bytes again. Throws ParseException when they were sealed by another key or for
    // another place.
    corekit::String Unseal(std::string_view sealed, std::string_view place) const;

private:
    std::array<uint8_t, k_Size> m_bytes{};
};

} // namespace vorlan
