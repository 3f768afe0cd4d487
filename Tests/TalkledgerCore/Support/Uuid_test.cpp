#include "TalkledgerCore/Support/Uuid.h"

#include <gtest/gtest.h>

namespace talkledger {
namespace {

TEST(Uuid, ReadsItsOwnTextAndLowerCase) {
    const boost::uuids::uuid uuid = randomUuid();
    EXPECT_EQ(parseUuid(uuidText(uuid)), uuid);
    EXPECT_NE(randomUuid(), uuid);
    EXPECT_EQ(uuidText(*parseUuid("0a1b2c3d-4e5f-6071-8293-a4b5c6d7e8f9")), "0A1B2C3D-4E5F-6071-8293-A4B5C6D7E8F9");
}

TEST(Uuid, RefusesOtherForms) {
    for (const char* text : {"", "0A1B2C3D4E5F60718293A4B5C6D7E8F9", "{0A1B2C3D-4E5F-6071-8293-A4B5C6D7E8F9}",
                             "0A1B2C3D-4E5F-6071-8293-A4B5C6D7E8F", "0A1B2C3D-4E5F-6071-8293-A4B5C6D7E8FG",
                             "0A1B2C3D-4E5F60718293A4B5C6D7E8F9----", "0A1B2C3D04E5F-6071-8293-A4B5C6D7E8F9",
                             "0A1B2C3D-4E5F-6071-8293-A4B5C6D7E8F9 "}) {
        EXPECT_FALSE(parseUuid(text)) << text;
    }
}

} // namespace
} // namespace talkledger
