#include "Rehearsal/Conversation.h"

#include "TalkledgerCore/Model/ModelsJson.h"
#include "TalkledgerCore/Support/Text.h"
#include "TalkledgerPlatform/Files/PosixFileSystem.h"

#include <algorithm>

namespace talkledger::rehearsal {
namespace {

// A quarter of an hour of speech; whatever is longer is no rehearsal but a mistake.
constexpr std::size_t kMaximumUtterances = 200;
constexpr std::size_t kMaximumCharacters = 12000;
constexpr std::int64_t kMaximumBytes = 1 << 20;

std::string joined(const std::vector<std::string>& names) {
    std::string text;
    for (const std::string& name : names) {
        text += (text.empty() ? "" : ", ") + name;
    }
    return text;
}

bool isSpeakable(const std::string& words) {
    const std::u32string scalars = text::scalars(words);
    return std::ranges::none_of(scalars, text::isControl) && std::ranges::any_of(scalars, [](char32_t scalar) {
               return !text::isWhitespaceOrNewline(scalar) && !text::isPunctuation(scalar) && !text::isSymbol(scalar);
           });
}

Utterance parseUtterance(const JsonReader& reader, const std::vector<std::string>& voices) {
    Utterance utterance;
    utterance.speaker = fromJson<SpeakerRole>(reader.required("speaker"));
    const JsonReader voice = reader.required("voice");
    utterance.voice = voice.string();
    // Only names: the synthesiser would also load a voice from a file or an address.
    if (std::ranges::find(voices, utterance.voice) == voices.end()) {
        throw voice.invalid("one of the installed voices (" + joined(voices) + ")");
    }
    const JsonReader words = reader.required("text");
    utterance.text = words.string();
    if (!isSpeakable(utterance.text)) {
        throw words.invalid("one line with words in it");
    }
    return utterance;
}

} // namespace

Conversation parseConversation(std::string_view text, const std::filesystem::path& file,
                               const std::vector<std::string>& voices) {
    const JsonDocument document(
        text, {.name = "The conversation " + file.string(),
               .advice = R"(It has to be a list like [{"speaker": "me", "voice": "rms", "text": "Hello."}].)"});
    const std::vector<JsonReader> elements = document.root().elements();
    if (elements.size() > kMaximumUtterances) {
        throw document.root().invalid("a list of at most " + std::to_string(kMaximumUtterances) + " utterances");
    }
    Conversation conversation;
    std::size_t characters = 0;
    for (const JsonReader& element : elements) {
        conversation.push_back(parseUtterance(element, voices));
        characters += text::characterCount(conversation.back().text);
    }
    if (characters > kMaximumCharacters) {
        throw document.root().invalid("a conversation of at most " + std::to_string(kMaximumCharacters) +
                                      " characters");
    }
    for (const SpeakerRole party : {SpeakerRole::me, SpeakerRole::customer}) {
        if (std::ranges::find(conversation, party, &Utterance::speaker) == conversation.end()) {
            throw document.root().invalid("a conversation in which both \"me\" and \"customer\" speak");
        }
    }
    return conversation;
}

Conversation loadConversation(const std::filesystem::path& file, const std::vector<std::string>& voices) {
    return parseConversation(PosixFileSystem().readFile(file, kMaximumBytes), file, voices);
}

} // namespace talkledger::rehearsal
