#pragma once

#include "TalkledgerCore/Model/Models.h"

#include <filesystem>
#include <string>
#include <string_view>
#include <vector>

/// What is said in a rehearsal, as a JSON list of objects with "speaker" ("me" or "customer"), "voice" and "text".
namespace talkledger::rehearsal {

struct Utterance {
    SpeakerRole speaker{SpeakerRole::me};
    std::string voice;
    std::string text;

    bool operator==(const Utterance&) const = default;
};

/// In the order in which it is spoken; both parties speak.
using Conversation = std::vector<Utterance>;

/// `file` is where the text came from and `voices` those that can be used. Throws JsonError, which says what is wrong
/// where and what to do.
Conversation parseConversation(std::string_view text, const std::filesystem::path& file,
                               const std::vector<std::string>& voices);

/// Throws FileSystemError and JsonError.
Conversation loadConversation(const std::filesystem::path& file, const std::vector<std::string>& voices);

} // namespace talkledger::rehearsal
