#pragma once

#include <corekit/path.h>

#include <string_view>

namespace vorlan::net {

using corekit::Path;

// Writes a file that only its owner may read, unless it is there already, in one
// step that another program can win. False when the other one has won. Throws
// FileException.
bool CreateSecretFile(Path const& path, std::string_view text);

// Takes the rights of others away from a secret that they could read, with a
// warning in the log.
void KeepSecret(Path const& path);

} // namespace vorlan::net
