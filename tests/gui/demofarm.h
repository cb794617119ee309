#pragma once

// A farm of made-up Jobs, Engines and units in the client's lists, for looking at it.

#include "test.h"

namespace vorlan {

// Some Jobs in every state there is, as many Engines, and what runs on them, as
// demofarm.json has them.
void FillDemoFarm();

// That many Jobs with names of 60 characters, and Engines with long ones, beside.
void CrowdDemoFarm(size_t jobs);

} // namespace vorlan
