#pragma once

// The heavy headers that nearly every file of the programs with windows reads.

#include "pch.h"

#include <wx/dcbuffer.h>
#include <wx/dcgraph.h>
#include <wx/wx.h>
