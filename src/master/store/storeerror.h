#pragma once

#include "master/store/store.h"

#include <soci/error.h>

namespace farm {

// What a data base says of a failure, in words of our own: its own text may hold the
// values of a row, and a row may hold a password.
//
// `action` begins the sentence: "The store could not be written".
StoreException FailureOf(char const* action, soci::soci_error const& error);

} // namespace farm
