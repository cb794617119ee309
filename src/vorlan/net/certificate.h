#pragma once

#include <corekit/path.h>
#include <corekit/string.h>

namespace vorlan::net {

// The certificate of a machine, made by itself, with its private key; both as PEM.
struct Certificate {
    corekit::String pem;
    corekit::String fingerprint; // SHA-256 of the certificate, in hexadecimal

    // From "certificate.pem" of the machine folder, made when it is not there. A
    // file that cannot be used is moved aside and made anew. Throws FileException
    // or NetException.
    static Certificate Load(corekit::Path const& machineDir);
    // One that lives in memory alone.
    static Certificate Fresh();
};

// Lower-case hexadecimal digits and back; false for text that is none.
corekit::String ToHex(std::string_view bytes);
bool FromHex(std::string_view digits, std::string& bytes);

} // namespace vorlan::net
