#include "app/content_hash.h"

#include "tests/app/cancellation.h"
#include "tests/app/files.h"

#include <gtest/gtest.h>

#include <sstream>

namespace {

// FIPS 180-4's own examples.
const std::string ofAbc = "ba7816bf8f01cfea414140de5dae2223b00361a396177a9cb410ff61f20015ad";
const std::string ofAMillion = "cdc76e5c9914fb9281a1c7e284d73e67f1809a48a497200e046d39ccc7112cd0";

TEST(Sha256, IsThatOfItsStandard) {
    EXPECT_EQ(app::sha256({}), "e3b0c44298fc1c149afbf4c8996fb92427ae41e4649b934ca495991b7852b855");
    EXPECT_EQ(app::sha256(bytesOf("abc")), ofAbc);
    EXPECT_EQ(app::sha256(Bytes(1000000, 'a')), ofAMillion);
}

TEST(Sha256, ReadsAStreamFromItsStartAndLeavesItThere) {
    std::istringstream file(std::string(1000000, 'a'));
    file.seekg(17);
    for (int i = 0; i < 2; ++i) {
        EXPECT_EQ(app::sha256(file), ofAMillion);
        EXPECT_EQ(file.tellg(), 0);
    }
    EXPECT_GT(cancelEachPoint([&] { static_cast<void>(app::sha256(file)); }, [] {}), 10);
}

} // namespace
