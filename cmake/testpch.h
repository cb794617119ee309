#pragma once

// The headers from outside that nearly every test reads.

#include "pch.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <nlohmann/json.hpp>

#include <filesystem>
#include <fstream>
#include <random>
#include <regex>
#include <sstream>
#include <thread>
