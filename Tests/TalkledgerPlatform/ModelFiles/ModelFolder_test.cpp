#include "Fakes/FakeModelCheck.h"
#include "Support/LoopbackHost.h"
#include "Support/RunTask.h"
#include "Support/TemporaryFolder.h"
#include "TalkledgerPlatform/ModelFiles/Checksum.h"
#include "TalkledgerPlatform/ModelFiles/ModelFolder.h"

#include <fcntl.h>
#include <gmock/gmock.h>
#include <sys/mount.h>
#include <unistd.h>

#include <fstream>
#include <optional>
#include <sstream>

namespace talkledger {
namespace {

using Case = ModelFileError::Case;
using ::testing::ElementsAre;
using ::testing::HasSubstr;
using ::testing::IsEmpty;
using testing::LoopbackHost;
using ::testing::Not;
using testing::runTask;

class ModelFolderTest : public ::testing::Test {
protected:
    ModelFolderTest() {
        for (int line = 0; line < 20'000; ++line) {
            content_ += "a model's weights " + std::to_string(line) + "\n";
        }
        write(home_.path() / "content", content_);
        const auto isWanted = [] { return true; };
        file_ = {.identifier = "base",
                 .kind = ModelFileKind::speech,
                 .name = "ggml-base.bin",
                 .address = {},
                 .bytes = static_cast<std::int64_t>(content_.size()),
                 .sha1 = checksum(home_.path() / "content", ChecksumKind::sha1, isWanted),
                 .title = {},
                 .cost = {}};
        sha256_ = checksum(home_.path() / "content", ChecksumKind::sha256, isWanted);
    }

    static void write(const std::filesystem::path& path, const std::string& content) {
        std::ofstream(path, std::ios::binary) << content;
    }

    static std::string contentOf(const std::filesystem::path& path) {
        std::ostringstream content;
        content << std::ifstream(path, std::ios::binary).rdbuf();
        return content.str();
    }

    void serve(LoopbackHost::Answer answer) {
        host_.emplace(std::move(answer));
        file_.address = host_->address("/resolve/ggml-base.bin");
    }

    /// The file, or the rest of it that is asked for; `count` bytes of it at most.
    std::string bytes(const std::string& request, std::size_t count = std::string::npos) const {
        const auto range = request.find("Range: bytes=");
        const std::size_t from = range == std::string::npos ? 0 : std::stoul(request.substr(range + 13));
        const std::string rest = content_.substr(from);
        const std::string head = range == std::string::npos
                                     ? "HTTP/1.1 200 OK\r\n"
                                     : "HTTP/1.1 206 Partial Content\r\nContent-Range: bytes " + std::to_string(from) +
                                           "-" + std::to_string(content_.size() - 1) + "/" +
                                           std::to_string(content_.size()) + "\r\n";
        return head + "Content-Length: " + std::to_string(rest.size()) + "\r\n\r\n" + rest.substr(0, count);
    }

    static std::string redirect(const std::string& location, const std::string& headers = {}) {
        return "HTTP/1.1 302 Found\r\n" + headers + "Location: " + location + "\r\nContent-Length: 0\r\n\r\n";
    }

    std::optional<Case> download() {
        progress_ = std::make_shared<ModelFileProgress>();
        return failureOf([this](ModelFolder& folder) { runTask(context_, folder.download(file_, progress_)); });
    }

    template <typename Action>
    std::optional<Case> failureOf(Action action) {
        ModelFolder folder(path(), check_, DownloadHosts::loopback);
        try {
            action(folder);
        } catch (const ModelFileError& error) {
            description_ = error.what();
            return error.failure();
        }
        return std::nullopt;
    }

    std::vector<std::string> names() const {
        std::vector<std::string> names;
        for (const auto& entry : std::filesystem::directory_iterator(path())) {
            names.push_back(entry.path().filename());
        }
        return names;
    }

    std::filesystem::path path() const { return home_.path() / "data/Models"; }

    testing::TemporaryFolder home_;
    boost::asio::io_context context_; ///< outlives the folders, whose threads may still be letting go of it
    std::string content_;
    std::string sha256_;
    KnownModelFile file_;
    testing::FakeModelCheck check_;
    std::shared_ptr<ModelFileProgress> progress_;
    std::string description_;
    std::optional<LoopbackHost> host_;
};

TEST_F(ModelFolderTest, ADownloadThatBreaksOffGoesOnWhereItEnded) {
    int count = 0;
    serve([&](const std::string& request) { return bytes(request, ++count < 3 ? 100'000 : std::string::npos); });
    EXPECT_EQ(download(), Case::brokenOff);
    EXPECT_EQ(progress_->received, 100'000);
    EXPECT_EQ(progress_->total, static_cast<std::int64_t>(content_.size()));
    EXPECT_EQ(download(), Case::brokenOff);
    EXPECT_THAT(names(), ElementsAre("ggml-base.bin.part")) << "it has its name only when it is whole";
    EXPECT_EQ(download(), std::nullopt);
    EXPECT_THAT(host_->requests().back(), HasSubstr("Range: bytes=200000-"));
    EXPECT_EQ(contentOf(path() / "ggml-base.bin"), content_);
    EXPECT_THAT(names(), ElementsAre("ggml-base.bin"));
    const auto others = std::filesystem::perms::group_all | std::filesystem::perms::others_all;
    EXPECT_EQ(std::filesystem::status(path()).permissions() & others, std::filesystem::perms::none);
    EXPECT_EQ(std::filesystem::status(path() / "ggml-base.bin").permissions() & others, std::filesystem::perms::none);
}

TEST_F(ModelFolderTest, BeginsAnewWhereTheHostCannotGoOn) {
    std::filesystem::create_directories(path());
    write(path() / "ggml-base.bin.part", "something else altogether");
    serve([&](const std::string& /*request*/) { return bytes(""); });
    EXPECT_EQ(download(), std::nullopt);
    EXPECT_EQ(contentOf(path() / "ggml-base.bin"), content_);

    write(path() / "ggml-base.bin.part", content_);
    serve([&](const std::string& request) {
        return request.find("Range") == std::string::npos
                   ? bytes("")
                   : "HTTP/1.1 416 Range Not Satisfiable\r\nx-linked-size: " + std::to_string(content_.size()) +
                         "\r\nContent-Length: 0\r\n\r\n";
    });
    EXPECT_EQ(download(), std::nullopt);
    EXPECT_EQ(host_->requests().size(), 1U) << "all of it had arrived";
}

TEST_F(ModelFolderTest, BelievesTheChecksumOfTheFirstHostOnly) {
    file_.sha1.clear();
    const std::string declared =
        "X-Linked-Size: " + std::to_string(content_.size()) + "\r\nX-Linked-ETag: \"" + sha256_ + "\"\r\n";
    const auto storedElsewhere = [&](const std::string& headers) {
        serve([this, headers](const std::string& request) {
            return request.starts_with("GET /resolve") ? redirect("/stored", headers) : bytes(request);
        });
    };
    storedElsewhere(declared);
    EXPECT_EQ(download(), std::nullopt);
    EXPECT_EQ(contentOf(path() / "ggml-base.bin"), content_);
    storedElsewhere({});
    EXPECT_EQ(download(), Case::noChecksum);
    storedElsewhere("x-linked-etag: \"" + std::string(64, 'a') + "\"\r\n");
    EXPECT_EQ(download(), Case::wrongChecksum);
    EXPECT_THAT(names(), ElementsAre("ggml-base.bin")) << "nothing is left of what was refused";
}

TEST_F(ModelFolderTest, RefusesWhatIsNotTheFile) {
    const std::string whole = content_;
    const auto refused = [this](LoopbackHost::Answer answer) {
        serve(std::move(answer));
        const std::optional<Case> failure = download();
        EXPECT_THAT(names(), Not(::testing::Contains("ggml-base.bin")));
        EXPECT_THAT(description_, Not(IsEmpty()));
        return failure;
    };
    EXPECT_EQ(refused([&](const std::string&) {
                  std::string answer = bytes("");
                  answer.back() = '!';
                  return answer;
              }),
              Case::wrongChecksum);
    EXPECT_EQ(
        refused([&](const std::string&) { return "HTTP/1.1 200 OK\r\nContent-Length: 99999999999\r\n\r\n" + whole; }),
        Case::wrongSize);
    EXPECT_EQ(refused([&](const std::string& request) {
                  return request.starts_with("GET /resolve") ? redirect("/stored", "x-linked-size: 7\r\n") : bytes("");
              }),
              Case::wrongSize);
    EXPECT_EQ(refused([](const std::string&) { return redirect("file:///etc/passwd"); }), Case::refusedAddress);
    EXPECT_EQ(refused([](const std::string&) { return redirect("/again"); }), Case::refusedAddress);
    EXPECT_EQ(host_->requests().size(), 6U);
    EXPECT_EQ(refused([](const std::string&) { return "HTTP/1.1 404 Not Found\r\nContent-Length: 0\r\n\r\n"; }),
              Case::notHandedOut);
    file_.bytes = std::int64_t{1} << 60;
    EXPECT_EQ(refused([&](const std::string&) { return bytes(""); }), Case::noSpace);
    EXPECT_THAT(host_->requests(), IsEmpty()) << "the disk is asked first";
}

TEST_F(ModelFolderTest, OnlyThisMachineIsAskedWithoutEncryptionAndOnlyInTests) {
    serve([&](const std::string& request) { return bytes(request); });
    ModelFolder folder(path(), check_);
    EXPECT_THROW(runTask(context_, folder.download(file_, std::make_shared<ModelFileProgress>())), ModelFileError);
    EXPECT_THAT(host_->requests(), IsEmpty());
}

TEST_F(ModelFolderTest, NothingIsKeptOfACancelledDownloadAndAPausedOneGoesOn) {
    for (const auto end : {ModelFileProgress::End::cancelled, ModelFileProgress::End::paused}) {
        serve([&](const std::string& request) {
            if (progress_->received == 0) {
                return bytes(request, 50'000); // broken off, so that there is something
            }
            progress_->end = end;
            return bytes(request);
        });
        EXPECT_EQ(download(), Case::brokenOff);
        progress_ = std::make_shared<ModelFileProgress>();
        EXPECT_EQ(failureOf([this](ModelFolder& folder) { runTask(context_, folder.download(file_, progress_)); }),
                  Case::cancelled);
        EXPECT_EQ(names().size(), end == ModelFileProgress::End::paused ? 1U : 0U);
    }
}

TEST_F(ModelFolderTest, ADiskThatFillsUpKeepsWhatHasArrivedAndTheRestComesLater) {
    std::filesystem::create_directories(path());
    if (mount("none", path().c_str(), "tmpfs", 0, "size=66m,mode=0700") != 0) {
        GTEST_SKIP() << "Only a privileged user can try a full disk.";
    }
    const std::shared_ptr<void> mounted(nullptr, [this](void*) { umount2(path().c_str(), MNT_DETACH); });
    const std::filesystem::path ballast = path() / "ballast";
    serve([&](const std::string& request) {
        write(ballast, {});
        const auto room = static_cast<off_t>(std::filesystem::space(path()).available) - 100'000;
        const int descriptor = open(ballast.c_str(), O_WRONLY | O_CLOEXEC);
        EXPECT_EQ(posix_fallocate(descriptor, 0, room), 0);
        close(descriptor);
        return bytes(request);
    });
    EXPECT_EQ(download(), Case::noSpace);
    EXPECT_THAT(names(), ::testing::UnorderedElementsAre("ballast", "ggml-base.bin.part"));
    EXPECT_EQ(download(), Case::noSpace) << "the disk is asked first";
    EXPECT_EQ(host_->requests().size(), 1U);
    std::filesystem::remove(ballast);
    serve([&](const std::string& request) { return bytes(request); });
    EXPECT_EQ(download(), std::nullopt);
    EXPECT_THAT(host_->requests().front(), HasSubstr("Range: bytes="));
    EXPECT_EQ(contentOf(path() / "ggml-base.bin"), content_);
}

TEST_F(ModelFolderTest, InstallsAFileOfTheUsersOwnWhenTheEngineCanWorkWithIt) {
    write(home_.path() / "mine.gguf", "GGUF and more");
    write(home_.path() / "ggml-mine.bin", "lmgg and more");
    write(home_.path() / "holiday.bin", "JFIF");
    EXPECT_EQ(failureOf([&](ModelFolder& folder) { runTask(context_, folder.install(home_.path() / "holiday.bin")); }),
              Case::notAModel);
    EXPECT_EQ(failureOf([&](ModelFolder& folder) { runTask(context_, folder.install("/dev/zero")); }), Case::notAModel);
    EXPECT_THAT(check_.checks, IsEmpty());
    check_.failure = "it crashed";
    EXPECT_EQ(failureOf([&](ModelFolder& folder) { runTask(context_, folder.install(home_.path() / "mine.gguf")); }),
              Case::notUsable);
    EXPECT_THAT(description_, HasSubstr("it crashed"));
    EXPECT_FALSE(std::filesystem::exists(path()));

    check_.failure.reset();
    ModelFolder folder(path(), check_);
    EXPECT_EQ(runTask(context_, folder.install(home_.path() / "mine.gguf")), ModelFileKind::language);
    EXPECT_EQ(runTask(context_, folder.install(home_.path() / "ggml-mine.bin")), ModelFileKind::speech);
    write(path() / "ggml-other.bin", "lmgg");
    write(path() / "ggml-silero-v5.bin", "lmgg");
    folder.prefer("ggml-mine.bin");
    EXPECT_THAT(folder.installed(ModelFileKind::speech), ElementsAre("ggml-mine.bin", "ggml-other.bin"));
    EXPECT_THAT(folder.installed(ModelFileKind::voice), ElementsAre("ggml-silero-v5.bin"));
    runTask(context_, folder.remove("mine.gguf"));
    EXPECT_THAT(folder.installed(ModelFileKind::language), IsEmpty());
    EXPECT_THROW(runTask(context_, folder.remove("../mine.gguf")), ModelFileError);
    EXPECT_TRUE(std::filesystem::exists(home_.path() / "mine.gguf"));
}

} // namespace
} // namespace talkledger
