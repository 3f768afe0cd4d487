#include "Rehearsal/Conversation.h"
#include "Rehearsal/SpeechSynthesis.h"
#include "TalkledgerCore/Support/Json.h"

#include <gmock/gmock.h>

#include <string>

namespace talkledger::rehearsal {
namespace {

using ::testing::HasSubstr;

Conversation parse(const std::string& text) {
    return parseConversation(text, "call.json", {"rms", "slt"});
}

std::string utterance(const std::string& speaker, const std::string& voice, const std::string& words) {
    return R"({"speaker": ")" + speaker + R"(", "voice": ")" + voice + R"(", "text": ")" + words + R"("})";
}

/// The error of an otherwise good conversation that ends with this element.
std::string errorOf(const std::string& element) {
    try {
        parse("[" + utterance("me", "rms", "Hello.") + ", " + utterance("customer", "slt", "Hi.") + ", " + element +
              "]");
    } catch (const JsonError& error) {
        return error.what();
    }
    return "none";
}

TEST(ConversationTest, KeepsTheOrderOfWhatIsSaid) {
    EXPECT_EQ(parse("[" + utterance("customer", "slt", "Hi.") + ", " + utterance("me", "rms", "Hello.") + "]"),
              (Conversation{{SpeakerRole::customer, "slt", "Hi."}, {SpeakerRole::me, "rms", "Hello."}}));
}

TEST(ConversationTest, NamesTheFileAndTheFaultOfABadUtterance) {
    EXPECT_THAT(errorOf(utterance("boss", "rms", "Hello.")), HasSubstr("\"speaker\""));
    EXPECT_THAT(errorOf(R"({"speaker": "me", "voice": "rms"})"), HasSubstr("\"text\""));
    EXPECT_THAT(errorOf(R"({"speaker": "me", "voice": 7, "text": "Hello."})"), HasSubstr("\"voice\""));
    EXPECT_THAT(errorOf(R"("Hello.")"), HasSubstr("call.json"));
    EXPECT_THAT(errorOf(utterance("me", "rms", "\\u0007 Hello.")), HasSubstr("words"));
    EXPECT_THAT(errorOf(utterance("me", "rms", " ... ")), HasSubstr("words"));
    EXPECT_THAT(errorOf(utterance("me", "rms", "\xC3(")), HasSubstr("call.json"));
}

TEST(ConversationTest, TakesInstalledVoicesByNameOnly) {
    for (const char* voice : {"/tmp/voice.flitevox", "http://voices/rms.flitevox", "-rms", "", "RMS"}) {
        EXPECT_THAT(errorOf(utterance("me", voice, "Hello.")), HasSubstr("rms, slt")) << voice;
    }
}

TEST(ConversationTest, RefusesWhatIsNoConversation) {
    const std::string words(11999, 'a');
    for (const std::string& text :
         {std::string("{}"), std::string("[]"), std::string("nonsense"), std::string(100000, '['),
          "[" + utterance("me", "rms", "Hello.") + "]",
          "[" + utterance("me", "rms", words) + ", " + utterance("customer", "rms", words) + "]"}) {
        EXPECT_THROW(parse(text), JsonError) << text.substr(0, 100);
    }
}

TEST(ConversationTest, TheOneThatComesWithTheRehearsalCanBeSpoken) {
    EXPECT_GE(loadConversation(TALKLEDGER_REHEARSAL_CONVERSATION, synthesizerVoices()).size(), 8U);
}

} // namespace
} // namespace talkledger::rehearsal
