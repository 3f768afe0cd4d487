#include "Support/LoopbackHost.h"
#include "TalkledgerApp/ModelFilesModel.h"
#include "TalkledgerApp/WindowFixture.h"

#include <fstream>
#include <future>
#include <memory>

namespace talkledger {
namespace {

using ::testing::ElementsAre;
using ::testing::HasSubstr;
using ::testing::IsEmpty;
using testing::LoopbackHost;

class ModelFilesModelTest : public testing::WindowFixture {
protected:
    /// Files whose content is "abc", in 3 bytes of 3.
    ModelFilesModel& makeFiles(const LoopbackHost& host) {
        known_ = {{.identifier = "small",
                   .kind = ModelFileKind::speech,
                   .name = "ggml-small.bin",
                   .address = host.address("/small"),
                   .bytes = 3,
                   .sha1 = "a9993e364706816aba3e25717850c26c9cd0d89d",
                   .title = {.english = "Standard", .japanese = "標準"},
                   .cost = {.english = "852 MB of memory", .japanese = "メモリ852 MB"},
                   .isUsual = true,
                   .isRecommended = true}};
        return files_.emplace(makeModel(), known_);
    }

    static std::string answer(const std::string& content, std::size_t length) {
        return "HTTP/1.1 200 OK\r\nContent-Length: " + std::to_string(length) + "\r\n\r\n" + content;
    }

    std::string field(const char* key) {
        return files_->speechRows().value(0).toMap().value(QLatin1String(key)).toString().toStdString();
    }

    bool ends(const char* state) {
        return QTest::qWaitFor([&] { return field("state") == state; }, 60'000);
    }

    std::vector<KnownModelFile> known_;
    std::optional<ModelFilesModel> files_;
};

TEST_F(ModelFilesModelTest, OffersWhatIsMissingAndFetchesWhatIsAskedFor) {
    std::atomic<bool> isBroken{true};
    const LoopbackHost host([&](const std::string&) { return answer(isBroken ? "a" : "abc", 3); });
    makeFiles(host);
    EXPECT_EQ(field("cost"), "recommended, 852 MB of memory");
    EXPECT_EQ(files_->speechOffer().value(QStringLiteral("name")), QStringLiteral("ggml-small.bin"));
    EXPECT_THAT(host.requests(), IsEmpty());
    files_->download(QStringLiteral("ggml-small.bin"));
    EXPECT_EQ(field("state"), "downloading");
    ASSERT_TRUE(ends("absent"));
    EXPECT_THAT(field("failure"), HasSubstr("goes on where it ended"));
    model().setDisplayLanguage(DisplayLanguage::japanese);
    EXPECT_THAT(field("failure"), HasSubstr("続きから"));

    isBroken = false;
    files_->download(QStringLiteral("ggml-small.bin"));
    ASSERT_TRUE(ends("installed"));
    EXPECT_EQ(field("failure"), "");
    EXPECT_EQ(field("isInUse"), "true");
    EXPECT_THAT(files_->speechOffer(), IsEmpty());
    files_->remove(QStringLiteral("ggml-small.bin"));
    ASSERT_TRUE(ends("absent"));
}

TEST_F(ModelFilesModelTest, NobodyWaitsForAPausedDownload) {
    std::promise<void> ending;
    const LoopbackHost host([&](const std::string&) {
        ending.get_future().wait();
        return answer("", 0);
    });
    const std::shared_ptr<void> end(nullptr, [&](void*) { ending.set_value(); });
    makeFiles(host);
    files_->download(QStringLiteral("ggml-small.bin"));
    EXPECT_EQ(files_->speechOffer().value(QStringLiteral("state")), QStringLiteral("downloading"));
    waitUntil([&] { return !host.requests().empty(); });
    files_->pauseDownloads();
    ASSERT_TRUE(ends("absent"));
    EXPECT_EQ(field("failure"), "") << "the user has done it";
}

TEST_F(ModelFilesModelTest, AFileOfTheUsersOwnIsTriedFirst) {
    const LoopbackHost host([](const std::string&) { return answer("", 0); });
    makeFiles(host);
    const QUrl file = QUrl::fromLocalFile(QString::fromStdString(home_.path() / "team.gguf"));
    std::ofstream(home_.path() / "team.gguf") << "GGUF...";
    modelCheck_.failure = "its layers do not fit";
    files_->install(file);
    EXPECT_TRUE(files_->isInstalling());
    waitUntil([this] { return !files_->isInstalling(); });
    EXPECT_THAT(files_->installFailure().toStdString(), HasSubstr("does not work here"));
    EXPECT_THAT(files_->languageRows(), IsEmpty());
    modelCheck_.failure.reset();
    files_->install(file);
    waitUntil([this] { return files_->languageRows().size() == 1; });
    EXPECT_EQ(files_->installFailure(), QString());
}

TEST_F(ModelFilesModelTest, TheScreensOfferTheModelsThatTheProgramKnows) {
    EXPECT_THAT(ModelFilesModel::knownFiles(), ::testing::SizeIs(9));
    show();
    click("checkSound");
    EXPECT_FALSE(isShown("ggml-medium.bin mark"));
    click("speechModelsAll");
    window().grabWindow(); // lays the rows out
    click("ggml-medium.bin mark");
    click("ggml-medium.bin");
    EXPECT_TRUE(shows("The download led to an address that is not safe and was stopped. Nothing was installed."));
    EXPECT_THAT(textsOf("ggml-medium.bin state"), ElementsAre("1.6 GB"));

    click("endFirstMinutes");
    record();
    EXPECT_TRUE(shows("Get model (1.1 GB)"));
    stop();
}

} // namespace
} // namespace talkledger
