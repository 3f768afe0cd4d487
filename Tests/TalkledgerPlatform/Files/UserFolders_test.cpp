#include "TalkledgerPlatform/Files/UserFolders.h"

#include <gtest/gtest.h>

#include <cstdlib>

namespace talkledger {
namespace {

const UserFolders folders{"/home/u", "/home/u/.local/share", "/home/u/.config"};

TEST(UserFolders, ReadsTheDocumentsFolder) {
    EXPECT_EQ(folders.documents("# comment\nXDG_MUSIC_DIR=\"$HOME/Music\"\nXDG_DOCUMENTS_DIR=\"$HOME/書類\"\n"),
              "/home/u/書類");
    EXPECT_EQ(folders.documents("\t XDG_DOCUMENTS_DIR = \"/data/My \\\"Docs\\\" \\$1\""), "/data/My \"Docs\" $1");
    EXPECT_EQ(folders.documents("XDG_DOCUMENTS_DIR=\"$HOME\""), "/home/u");
    EXPECT_EQ(folders.documents("XDG_DOCUMENTS_DIR=\"/a\"\r\nXDG_DOCUMENTS_DIR=\"/b\""), "/b");
}

TEST(UserFolders, FallsBackOnWhatIsNoAbsoluteFolder) {
    for (const std::string_view content :
         {std::string_view(""), std::string_view("\n\n"), std::string_view("#XDG_DOCUMENTS_DIR=\"/a\""),
          std::string_view("XDG_DOCUMENTS_DIR=/a"), std::string_view("XDG_DOCUMENTS_DIR=\"a\""),
          std::string_view("XDG_DOCUMENTS_DIR=\"/a"), std::string_view("XDG_DOCUMENTS_DIR=\"/a\\"),
          std::string_view("XDG_DOCUMENTS_DIR=\"$HOMEX\""), std::string_view("XDG_DOCUMENTS_DIRX=\"/a\""),
          std::string_view("XDG_DOCUMENTS_DIR=\"/a\0b\"", 24), std::string_view("XDG_DOCUMENTS_DIR")}) {
        EXPECT_EQ(folders.documents(content), "/home/u/Documents") << content;
    }
}

TEST(UserFolders, TakesAbsolutePlacesFromTheEnvironmentOnly) {
    // NOLINTBEGIN(concurrency-mt-unsafe): there is no other thread.
    ::setenv("HOME", "/home/someone", 1);
    ::setenv("XDG_DATA_HOME", "relative", 1);
    ::setenv("XDG_CONFIG_HOME", "/etc/conf", 1);
    const UserFolders found = UserFolders::fromEnvironment();
    EXPECT_EQ(found.home, "/home/someone");
    EXPECT_EQ(found.dataHome, "/home/someone/.local/share");
    EXPECT_EQ(found.configHome, "/etc/conf");
    ::unsetenv("HOME");
    EXPECT_TRUE(UserFolders::fromEnvironment().home.is_absolute());
    // NOLINTEND(concurrency-mt-unsafe)
}

} // namespace
} // namespace talkledger
