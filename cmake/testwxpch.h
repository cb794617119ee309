#pragma once

// The same for the tests with windows.

#include "testpch.h"
#include "wxpch.h"
