// The heavy headers that nearly every file of the programs with windows reads.
#pragma once

#include "pch.h"

#include <wx/dcbuffer.h>
#include <wx/dcgraph.h>
#include <wx/wx.h>
