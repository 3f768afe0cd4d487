#include "TalkledgerApp/AppFixture.h"
#include "TalkledgerApp/CapturePermissions.h"

#include <QVariantMap>
#include <optional>

namespace talkledger {
namespace {

using ::testing::Contains;
using ::testing::StartsWith;

class CapturePermissionsTest : public testing::AppFixture {
protected:
    QVariant field(int row, const char* name) {
        return permissions_->rows().at(row).toMap()[QString::fromLatin1(name)];
    }

    std::optional<CapturePermissions> permissions_;
};

TEST_F(CapturePermissionsTest, TheSystemAudioIsKnownOnlyOnceItWasLookedAt) {
    systemAudio_.contentFailure = "no output";
    permissions_.emplace(makeModel());
    EXPECT_FALSE(permissions_->needAttention());
    permissions_->refresh();
    EXPECT_EQ(field(1, "state"), QStringLiteral("確認中"));
    waitUntil([this] { return permissions_->needAttention(); });
    EXPECT_EQ(field(0, "tone"), QStringLiteral("granted"));
    EXPECT_EQ(field(1, "tone"), QStringLiteral("refused"));
    EXPECT_EQ(permissions_->startConsequence(), QStringLiteral("いま始めると、マイクだけを録音します。"));
    model().setDisplayLanguage(DisplayLanguage::english);
    EXPECT_EQ(field(1, "state"), QStringLiteral("Denied"));
}

TEST_F(CapturePermissionsTest, ARequestAsksAndTheSettingsAreThoseOfTheRow) {
    authorization_.status = AuthorizationStatus::notDetermined;
    permissions_.emplace(makeModel());
    EXPECT_EQ(field(0, "canBeRequested"), true);
    permissions_->request();
    waitUntil([this] { return authorization_.promptCount == 1; });
    authorization_.answer(true);
    waitUntil([this] { return field(0, "tone") == QStringLiteral("granted"); });
    EXPECT_FALSE(permissions_->needAttention());
    permissions_->openSettings(field(0, "kind").toString());
    EXPECT_THAT(log_.calls(), Contains(StartsWith("settings ")));
}

} // namespace
} // namespace talkledger
