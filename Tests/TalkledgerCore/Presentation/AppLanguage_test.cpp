#include "TalkledgerCore/Capture/TrackHealth.h"
#include "TalkledgerCore/Presentation/AppLanguage.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <set>

namespace talkledger {
namespace {

constexpr AppCopy english{DisplayLanguage::english};
constexpr AppCopy japanese{DisplayLanguage::japanese};

TEST(AppCopy, HasEveryTextInBothLanguagesUnderOneKey) {
    const auto isAscii = [](char byte) { return static_cast<unsigned char>(byte) < 0x80; };
    std::set<std::string_view> keys;
    for (const AppText& text : AppCopy::texts()) {
        EXPECT_TRUE(keys.insert(text.key).second) << text.key;
        EXPECT_FALSE(text.english.empty() || text.japanese.empty()) << text.key;
        EXPECT_TRUE(std::ranges::all_of(text.english, isAscii)) << text.key;
        EXPECT_EQ(std::ranges::all_of(text.japanese, isAscii), text.key == "appTitle") << text.key;
    }
}

TEST(AppCopy, ShowsGeneratedTitlesInItsLanguage) {
    EXPECT_EQ(english.sessionTitle("商談 2025-06-02 10:30:00"), "Sales call 2025-06-02 10:30:00");
    EXPECT_EQ(english.sessionTitle("商談2025"), "商談2025");
    EXPECT_EQ(japanese.sessionTitle("Sales call 1"), "商談 1");
    EXPECT_EQ(japanese.sessionTitle("My Sales call 1"), "My Sales call 1");
}

TEST(AppCopy, TranslatesMessagesAndKeepsErrorTexts) {
    for (const auto& [message, translation] :
         {std::pair("Microphone capture stop failed: x", "マイク録音の停止に失敗しました: x"),
          {"Session created.", "セッションを作成しました。"},
          {"Session created. ", "Session created. "},
          {"Transcribed again.", "文字起こしをやり直しました。"},
          {"Foundation Models summary failed: x", "Foundation Models summary failed: x"}}) {
        EXPECT_EQ(japanese.diagnosticMessage(message), translation);
        EXPECT_EQ(english.diagnosticMessage(message), message);
    }
    EXPECT_EQ(japanese.diagnosticMessage(english.noSpeechRecogniser()), japanese.noSpeechRecogniser());
    EXPECT_EQ(japanese.summaryOverview("Customer discussion captured for review."), "商談内容を確認用に保存しました。");
    EXPECT_EQ(japanese.followUpEmailDraft("Thanks for the call."), "本日はありがとうございました。");
    EXPECT_EQ(japanese.followUpEmailDraft("Thanks for the call. I will address concern."),
              "Thanks for the call. I will address concern.");
}

TEST(AppCopy, TellsLossFromWhatWentWell) {
    TrackHealth health;
    for (const AudioChannel channel : {AudioChannel::mic, AudioChannel::speaker}) {
        health.apply(channel, TrackHealthEvent::waitingForDevice);
        health.apply(channel, TrackHealthEvent::writeFailed);
        for (const std::string& message : health.messages(channel)) {
            EXPECT_TRUE(AppCopy::tellsOfLoss(message)) << message;
            EXPECT_NE(japanese.diagnosticMessage(message), message);
        }
    }
    EXPECT_TRUE(AppCopy::tellsOfLoss("System audio capture stop failed: x"));
    EXPECT_TRUE(AppCopy::tellsOfLoss(english.noSpeechRecogniser()));
    EXPECT_FALSE(AppCopy::tellsOfLoss("Microphone capture stopped."));
    EXPECT_FALSE(AppCopy::tellsOfLoss("Foundation Models summary failed: x"));
    EXPECT_TRUE(AppCopy::tellsOfFailure("Foundation Models summary failed: x"));
    EXPECT_TRUE(AppCopy::tellsOfFailure("Transcription failed: x"));
    EXPECT_FALSE(AppCopy::tellsOfFailure("Empty summary generated."));
}

} // namespace
} // namespace talkledger
