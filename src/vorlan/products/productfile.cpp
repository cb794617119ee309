#include <vorlan/productfile.h>

#include "productjson.h"

#include <corekit/exception.h>
#include <corekit/file.h>

#include <algorithm>
#include <filesystem>

namespace vorlan {

String SSaveProduct(Product const& product, bool compact) {
    Json const json = ProductWriter::Write(product);
    String const text(json.dump(compact ? -1 : 4, ' ', false, Json::error_handler_t::replace));
    return compact ? text : text + k_NL;
}

String ProductToText(Product const& product) { return SSaveProduct(product, true); }

boost::shared_ptr<Product> ProductFromText(String const& text) { return ProductReader().Read(text); }

boost::shared_ptr<Product> SLoadProductFile(Path const& path) {
    String const text = File::Read(path);
    try {
        return ProductFromText(text);
    } catch (ParseException const& error) {
        throw ParseException(path.Text() + ": " + error.Message(), error.Detail());
    }
}

std::vector<boost::shared_ptr<Product>> LoadProductFolder(Path const& folder, std::vector<String>& errors) {
    std::vector<Path> files;
    std::error_code failure;
    for (auto const& entry : std::filesystem::directory_iterator(folder.Native(), failure)) {
        if (entry.path().extension() == ".json")
            files.emplace_back(entry.path());
    }
    if (failure)
        errors.push_back("The folder of the Products cannot be read: " + folder + ": " + failure.message());
    std::sort(files.begin(), files.end());
    std::vector<boost::shared_ptr<Product>> products;
    for (Path const& file : files) {
        try {
            auto const product = SLoadProductFile(file);
            auto const same = std::find_if(products.begin(), products.end(),
                                           [&](auto const& other) { return other->Type() == product->Type(); });
            if (same != products.end())
                throw ParseException(file.Text() + ": ID: " + product->Type().ToString() +
                                     " is the ID of the Product \"" + (*same)->Name() + "\" already");
            products.push_back(product);
        } catch (Exception const& error) {
            errors.emplace_back(error.what());
        }
    }
    return products;
}

Path FindProductFolder() {
    Path const beside = File::s_AppDir / "products";
    if (beside.IsFolder())
        return beside;
    Path const above = File::s_AppDir / "../products";
    if (above.IsFolder())
        return above;
    Path const shared = File::s_AppDir / "../share/vorlan/products";
    if (shared.IsFolder())
        return shared;
#ifdef VORLAN_PRODUCT_FOLDER
    Path const source = VORLAN_PRODUCT_FOLDER;
    if (source.IsFolder())
        return source;
#endif
    return {};
}

} // namespace vorlan
