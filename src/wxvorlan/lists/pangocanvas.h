#pragma once

#include "cellcanvas.h"

// A canvas that keeps laid-out texts; null where the toolkit draws without Pango.
std::unique_ptr<CellCanvas> NewPangoCanvas();
