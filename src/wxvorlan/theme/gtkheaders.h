#pragma once

// The toolkit's headers, which do not compile without warnings.

#pragma GCC diagnostic push
#pragma GCC diagnostic ignored "-Wpedantic"
#pragma GCC diagnostic ignored "-Wcast-align"
#include <gtk/gtk.h>
#pragma GCC diagnostic pop
