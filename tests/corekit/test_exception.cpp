#include <corekit/exception.h>

#include <gtest/gtest.h>

#include <functional>

using namespace corekit;

TEST(Exception, EveryOneOfTheFamilyIsCaughtByItsRootWithItsCodeAndText) {
    const UID product(true);
    struct Case {
        std::function<void()> raise;
        int code;
        String text;
    };
    for (const Case& c : {Case{[] { throw FileException("Cannot write.", "No space", 28); }, Exception::k_File,
                               "Cannot write. (No space)"},
                          Case{[] { throw NetException("No Master."); }, Exception::k_Net, "No Master."},
                          Case{[] { throw ParseException("Bad.", "line 3"); }, Exception::k_Parse, "Bad. (line 3)"},
                          Case{[] { throw ArgumentException("No."); }, Exception::k_Argument, "No."},
                          Case{[&] { throw MissingProductException(product); }, 0x21000002, {}}}) {
        try {
            c.raise();
            ADD_FAILURE();
        } catch (const Exception& exception) {
            EXPECT_EQ(exception.Code(), c.code);
            const String text = exception.what();
            EXPECT_TRUE(c.text.empty() ? text.Contains(product.ToString()) : text == c.text) << text;
        }
    }
}
