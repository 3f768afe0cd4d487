#include "Support/TemporaryFolder.h"
#include "TalkledgerPlatform/Files/PosixFileSystem.h"

#include <gmock/gmock.h>
#include <sys/resource.h>
#include <sys/stat.h>
#include <sys/wait.h>
#include <unistd.h>

#include <atomic>
#include <csignal>
#include <thread>

namespace talkledger {
namespace {

using ::testing::AllOf;
using ::testing::HasSubstr;
using ::testing::UnorderedElementsAre;

mode_t modeOf(const std::filesystem::path& path) {
    struct stat status {};

    EXPECT_EQ(::lstat(path.c_str(), &status), 0) << path;
    return status.st_mode & 07777;
}

template <typename Operation>
std::string failureOf(const Operation& operation) {
    try {
        operation();
    } catch (const FileSystemError& error) {
        return error.what();
    }
    return "no failure";
}

/// The exit status of `operation` run in a process of its own, where limits and rights can be given up; 0 for success.
template <typename Operation>
int runInChild(const Operation& operation) {
    const pid_t child = ::fork();
    if (child == 0) {
        ::_exit(operation() ? 0 : 1);
    }
    int status = -1;
    EXPECT_EQ(::waitpid(child, &status, 0), child);
    return status;
}

class PosixFileSystemTest : public ::testing::Test {
protected:
    std::vector<std::filesystem::path> everythingIn(const std::filesystem::path& directory) {
        std::vector<std::filesystem::path> entries;
        for (const auto& entry : std::filesystem::directory_iterator(directory)) {
            entries.push_back(entry.path());
        }
        return entries;
    }

    testing::TemporaryFolder folder;
    PosixFileSystem fileSystem;
    std::filesystem::path file = folder.path() / "file.json";
};

TEST_F(PosixFileSystemTest, MakesPrivateFilesAndFolders) {
    const mode_t mask = ::umask(0);
    const std::filesystem::path deep = folder.path() / "a" / "b" / "c";
    fileSystem.createDirectory(deep / "");
    fileSystem.createDirectory(deep);
    fileSystem.writeFileAtomically(deep / "file", "x");
    fileSystem.createEmptyFile(deep / "empty");
    ::umask(mask);
    EXPECT_EQ(modeOf(folder.path() / "a"), 0700U);
    EXPECT_EQ(modeOf(deep), 0700U);
    EXPECT_EQ(modeOf(deep / "file"), 0600U);
    EXPECT_EQ(modeOf(deep / "empty"), 0600U);
    EXPECT_THAT(everythingIn(deep), UnorderedElementsAre(deep / "file", deep / "empty"));
}

TEST_F(PosixFileSystemTest, ReplacesWholeFiles) {
    const std::string large(3 << 20, 'x');
    fileSystem.writeFileAtomically(file, large);
    EXPECT_EQ(fileSystem.readFile(file, 3 << 20), large);
    fileSystem.writeFileAtomically(file, "short");
    EXPECT_EQ(fileSystem.readFile(file, 5), "short");
    EXPECT_EQ(fileSystem.fileSize(file), 5);
    fileSystem.createEmptyFile(file);
    EXPECT_EQ(fileSystem.readFile(file, 0), "");
    EXPECT_TRUE(fileSystem.fileExists(file));
    fileSystem.removeFile(file);
    EXPECT_FALSE(fileSystem.fileExists(file));
    EXPECT_FALSE(fileSystem.fileSize(file));
    EXPECT_THAT(failureOf([&] { fileSystem.removeFile(file); }), HasSubstr(file.string()));
}

TEST_F(PosixFileSystemTest, AReaderSeesTheOldContentOrTheNew) {
    const std::string contents[] = {std::string(100000, 'a'), std::string(70000, 'b')};
    fileSystem.writeFileAtomically(file, contents[0]);
    std::atomic<bool> isDone{false};
    std::thread writer([&] {
        for (int round = 0; round < 50; ++round) {
            fileSystem.writeFileAtomically(file, contents[round % 2]);
        }
        isDone = true;
    });
    while (!isDone) {
        const std::string content = fileSystem.readFile(file, 1 << 20);
        EXPECT_TRUE(content == contents[0] || content == contents[1]) << content.size();
    }
    writer.join();
    EXPECT_THAT(everythingIn(folder.path()), UnorderedElementsAre(file));
}

TEST_F(PosixFileSystemTest, ReadsRegularFilesWithinTheirBoundOnly) {
    fileSystem.writeFileAtomically(file, "12345");
    EXPECT_THAT(failureOf([&] { fileSystem.readFile(file, 4); }),
                AllOf(HasSubstr(file.string()), HasSubstr("4 bytes")));
    std::filesystem::resize_file(file, std::uintmax_t{2} << 30);
    EXPECT_THAT(failureOf([&] { fileSystem.readFile(file, 64 << 20); }), HasSubstr(file.string()));

    const std::filesystem::path pipe = folder.path() / "pipe";
    ASSERT_EQ(::mkfifo(pipe.c_str(), 0600), 0);
    EXPECT_THAT(failureOf([&] { fileSystem.readFile(pipe, 100); }), HasSubstr("no regular file"));
    EXPECT_THAT(failureOf([&] { fileSystem.readFile("/dev/zero", 100); }), HasSubstr("no regular file"));
    EXPECT_THAT(failureOf([&] { fileSystem.readFile(folder.path(), 100); }), HasSubstr("no regular file"));
    EXPECT_THAT(failureOf([&] { fileSystem.readFile(folder.path() / "none", 100); }), HasSubstr("none"));

    // Files whose size is not told before they are read.
    EXPECT_THAT(fileSystem.readFile("/proc/self/status", 1 << 20), HasSubstr("Pid:"));
    EXPECT_NE(failureOf([&] { fileSystem.readFile("/proc/self/status", 10); }), "no failure");
}

TEST_F(PosixFileSystemTest, ListsWhatIsNotHidden) {
    fileSystem.createDirectory(folder.path() / "folder");
    fileSystem.writeFileAtomically(folder.path() / ".hidden", "");
    fileSystem.writeFileAtomically(file, "");
    EXPECT_THAT(fileSystem.contentsOfDirectory(folder.path()), UnorderedElementsAre(file, folder.path() / "folder"));
    EXPECT_THAT(failureOf([&] { fileSystem.contentsOfDirectory(file); }), HasSubstr(file.string()));
}

TEST_F(PosixFileSystemTest, NeverWritesThroughALink) {
    const std::filesystem::path precious = folder.path() / "precious";
    fileSystem.writeFileAtomically(precious, "precious");
    std::filesystem::create_symlink(precious, file);
    EXPECT_TRUE(fileSystem.isSymbolicLink(file));
    EXPECT_THAT(failureOf([&] { fileSystem.createEmptyFile(file); }), HasSubstr("symbolic link"));
    fileSystem.writeFileAtomically(file, "new");
    EXPECT_FALSE(fileSystem.isSymbolicLink(file));
    EXPECT_EQ(fileSystem.readFile(precious, 100), "precious");
}

TEST_F(PosixFileSystemTest, FailsWithAReasonAndAnAdvice) {
    fileSystem.writeFileAtomically(file, "x");
    const std::filesystem::path folderInPlace = folder.path() / "folder";
    fileSystem.createDirectory(folderInPlace / "sub");
    EXPECT_THAT(failureOf([&] { fileSystem.createDirectory(file / "sub"); }), HasSubstr("Move away"));
    EXPECT_THAT(failureOf([&] { fileSystem.createDirectory(file); }), HasSubstr(file.string()));
    EXPECT_THAT(failureOf([&] { fileSystem.writeFileAtomically(file / "sub", "y"); }), HasSubstr("Not a directory"));
    EXPECT_THAT(failureOf([&] { fileSystem.writeFileAtomically(folder.path() / "gone" / "f", "y"); }),
                HasSubstr("is still there"));
    EXPECT_THAT(failureOf([&] { fileSystem.writeFileAtomically(folderInPlace, "y"); }), HasSubstr("Move away"));
    EXPECT_THAT(failureOf([&] { fileSystem.writeFileAtomically(folder.path() / std::string(300, 'x'), "y"); }),
                HasSubstr("shorter name"));
    EXPECT_THAT(everythingIn(folder.path()), UnorderedElementsAre(file, folderInPlace));
}

TEST_F(PosixFileSystemTest, AFullDiskLosesNeitherTheOldFileNorRoom) {
    fileSystem.writeFileAtomically(file, "old");
    const int status = runInChild([&] {
        const rlimit limit{1000, 1000};
        ::signal(SIGXFSZ, SIG_IGN);
        ::setrlimit(RLIMIT_FSIZE, &limit);
        const std::string text = failureOf([&] { fileSystem.writeFileAtomically(file, std::string(5000, 'x')); });
        return text.find(file.string()) != std::string::npos && text.find("limit on the size") != std::string::npos;
    });
    EXPECT_EQ(status, 0);
    EXPECT_EQ(fileSystem.readFile(file, 100), "old");
    EXPECT_THAT(everythingIn(folder.path()), UnorderedElementsAre(file));
    EXPECT_THAT(failureOf([&] { fileSystem.writeFileAtomically("/dev/full/x", "y"); }), HasSubstr("/dev/full/x"));
}

TEST_F(PosixFileSystemTest, AFolderWithoutRightsIsToldToAnUnprivilegedUser) {
    constexpr uid_t nobody = 65534;
    ASSERT_EQ(::chmod(folder.path().c_str(), 0555), 0);
    const int status = runInChild([&] {
        if (::getuid() == 0 && ::setuid(nobody) != 0) {
            return false;
        }
        const auto isTold = [&](const std::string& text) {
            return text.find(folder.path().string()) != std::string::npos && text.find("rights") != std::string::npos;
        };
        return isTold(failureOf([&] { fileSystem.writeFileAtomically(file, "x"); })) &&
               isTold(failureOf([&] { fileSystem.createEmptyFile(file); })) &&
               isTold(failureOf([&] { fileSystem.createDirectory(folder.path() / "sub"); }));
    });
    ASSERT_EQ(::chmod(folder.path().c_str(), 0700), 0);
    EXPECT_EQ(status, 0);
}

TEST_F(PosixFileSystemTest, FindsTheUsersFolders) {
    PosixFileSystem users(UserFolders{folder.path(), folder.path() / "share", folder.path() / "config"});
    EXPECT_EQ(users.applicationSupportDirectory(), folder.path() / "share");
    EXPECT_EQ(users.documentsDirectory(), folder.path() / "Documents");
    fileSystem.createDirectory(folder.path() / "config");
    fileSystem.writeFileAtomically(folder.path() / "config" / "user-dirs.dirs", "XDG_DOCUMENTS_DIR=\"$HOME/書類\"\n");
    EXPECT_EQ(users.documentsDirectory(), folder.path() / "書類");
    EXPECT_EQ(modeOf(folder.path() / "書類"), 0700U);
}

} // namespace
} // namespace talkledger
