#pragma once

// Making Jobs ready for the Master: values from the command line, paths, names.

#include "cli/farmview.h"

#include <corekit/path.h>
#include <vorlan/product.h>

namespace vorlan::cli {

struct ValueSetting {
    String name;
    String value;
};

// "Name=Value". Throws CommandException for text without a name or "=".
ValueSetting ParseSetting(String const& text);

// Sets one value of a Job as a person means it: a choice by what is shown for it, a
// Pool by its name, a relative path from `folder` on. Throws CommandException for a
// name that the Product has not got.
void ApplySetting(Job& job, Product const& product, ValueSetting const& setting, Path const& folder,
                  FarmView const& view);

// Sets the folder that the Product's files go to. Throws CommandException if it has none.
void SetOutputFolder(Job& job, Product const& product, Path const& folder);

// Makes each relative path among the Job's values absolute, from `folder` on.
void ResolvePaths(Job& job, Product const& product, Path const& folder);

// Throws CommandException when a value is missing that the Product needs, or the frames
// are none.
void CheckJob(Job const& job, Product const& product);

} // namespace vorlan::cli
