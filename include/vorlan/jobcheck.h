#pragma once

// Whether the values of a Job are what they must be: asked by the command line, by Job files and by the Master.

#include <vorlan/fwd.h>

#include <vector>

namespace vorlan {

// Why the text is no value of that name for a Job of the Product, by the Product's parameter and by the table of
// values.h; empty when it is one, when it is empty, and for a name that nobody knows. The product may be null.
String CheckJobValue(String const& name, String const& text, Product const* product);

// The same of the first value of the Job that is none. What `former` has with the same text is passed over: it was
// taken once.
String CheckJobValues(Job const& job, Product const* product, Job const* former = nullptr);

// A Job of the Product may have a value of that name: the Product's parameter, one of the table, or a free name.
bool IsJobValueName(String const& name, Product const& product);

} // namespace vorlan
