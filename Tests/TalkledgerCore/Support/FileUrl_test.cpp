#include "TalkledgerCore/Support/FileUrl.h"

#include <gtest/gtest.h>

#include <random>

namespace talkledger {
namespace {

TEST(FileUrl, EscapesWhatAUrlDoesNotTake) {
    EXPECT_EQ(fileUrl("/home/u/商談 #1?%.wav"), "file:///home/u/%E5%95%86%E8%AB%87%20%231%3F%25.wav");
    EXPECT_EQ(directoryUrl("/home/u/a"), "file:///home/u/a/");
}

TEST(FileUrl, ReadsWhatItWroteWhateverTheBytes) {
    std::mt19937 random(5);
    std::uniform_int_distribution<int> byte(1, 255);
    for (int round = 0; round < 500; ++round) {
        std::string name = "/x";
        for (int index = 0; index < 40; ++index) {
            name += static_cast<char>(byte(random));
        }
        name += 'x';
        const std::filesystem::path path = name;
        EXPECT_EQ(pathFromFileUrl(fileUrl(path))->native(), path.native());
        EXPECT_EQ(pathFromFileUrl(directoryUrl(path))->native(), path.native());
    }
}

TEST(FileUrl, ReadsOtherSpellingsOfALocalFile) {
    EXPECT_EQ(pathFromFileUrl("file://localhost/a%2fb%20c/"), "/a/b c");
    EXPECT_EQ(pathFromFileUrl("file:///商談"), "/商談");
    EXPECT_EQ(pathFromFileUrl("file:///"), "/");
}

TEST(FileUrl, RefusesEverythingElse) {
    for (const std::string_view url :
         {std::string_view(""), std::string_view("/a"), std::string_view("file:"), std::string_view("file://"),
          std::string_view("file:a"), std::string_view("file://host/a"), std::string_view("file://localhostile"),
          std::string_view("http:///a"), std::string_view("file:///a%"), std::string_view("file:///a%2"),
          std::string_view("file:///a%zz"), std::string_view("file:///a%00b"), std::string_view("file:///a\0b", 11),
          std::string_view("file:///a?b"), std::string_view("file:///a#b"), std::string_view("mic.wav")}) {
        EXPECT_FALSE(pathFromFileUrl(url)) << url;
    }
}

} // namespace
} // namespace talkledger
