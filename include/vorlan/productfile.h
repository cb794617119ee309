#pragma once

#include <corekit/path.h>
#include <corekit/string.h>
#include <vorlan/fwd.h>

#include <boost/shared_ptr.hpp>

#include <vector>

namespace vorlan {

class Product;

// A Product's JSON text, described in docs/products.md. Whatever is wrong with a text is one ParseException
// that names the place ("Parameters[3].Range") and says what is expected there.
// Keys that this version does not know are kept and written again.
inline constexpr size_t k_ProductTextLimit = 4U << 20;
inline constexpr int k_ProductDepthLimit = 32;
inline constexpr size_t k_ProductListLimit = 5000; // parameters, choices, commands, rules: each list

// compact: one line, as sent and stored; else indented for people.
String SSaveProduct(Product const& product, bool compact);
String ProductToText(Product const& product); // compact

boost::shared_ptr<Product> ProductFromText(String const& text);
// Throws FileException when it cannot be read, ParseException that starts with the file's name.
boost::shared_ptr<Product> SLoadProductFile(Path const& path);

// All "*.json" of a folder, by name. A file that does not load is left out, and its error added to `errors`.
std::vector<boost::shared_ptr<Product>> LoadProductFolder(Path const& folder, std::vector<String>& errors);

// The folder with the shipped Products: beside the program, above it, or the source's; empty when there is none.
Path FindProductFolder();

} // namespace vorlan
