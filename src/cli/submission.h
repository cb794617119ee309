#pragma once

// Making Jobs ready for the Master: values from the command line, paths, names.

#include "cli/farm.h"

#include <corekit/path.h>
#include <vorlan/product.h>

namespace vorlan::cli {

struct ValueSetting {
    String name;
    String value;
};

// "Name=Value". Throws CommandException for text without a name or "=".
ValueSetting ParseSetting(String const& text);

// Sets one value of a Job as a person means it, a relative path from `folder` on. Throws CommandException for a
// name that a Job of the Product has not got.
void ApplySetting(Job& job, Product const& product, ValueSetting const& setting, Path const& folder);

// Puts ids in place of the names, and of the beginnings of ids, of the Pool, the Jobs waited for and the Engines
// and Pools that are included or excluded; what is no id is looked up on the farm. Then puts those that are waited
// for first. Throws CommandException for a name that nobody has, and for Jobs that wait for each other in a circle.
void ResolveNames(Farm& farm, std::vector<boost::shared_ptr<Job>>& jobs);

// Sets the folder that the Product's files go to. Throws CommandException if it has none.
void SetOutputFolder(Job& job, Product const& product, Path const& folder);

// Makes each relative path among the Job's values absolute, from `folder` on.
void ResolvePaths(Job& job, Product const& product, Path const& folder);

// Takes what is shown for a choice as its value.
void TakeShownChoices(Job& job, Product const& product);

// Throws CommandException when a value is missing that the Product needs, when one is not what it must be, or the
// frames are none.
void CheckJob(Job const& job, Product const& product);

} // namespace vorlan::cli
