#include "ManyRecordings.h"

#include "TalkledgerCore/Model/ModelsJson.h"
#include "TalkledgerCore/Storage/RecordingStore.h"
#include "TalkledgerCore/Support/Json.h"
#include "TalkledgerCore/Support/Uuid.h"

#include <nlohmann/json.hpp>

#include <chrono>
#include <fstream>
#include <ios>
#include <string>

namespace talkledger {
namespace {

void write(const std::string& text, const std::filesystem::path& file) {
    std::ofstream stream(file);
    stream.exceptions(std::ios::failbit | std::ios::badbit);
    stream << text << std::flush;
}

} // namespace

void addRecordings(const std::filesystem::path& library, std::size_t count, const TranscriptDocument& transcript) {
    const std::string said = encodeJson(toJson(transcript));
    for (std::size_t number = 0; number < count; ++number) {
        const Date start{std::chrono::hours(400'000) + std::chrono::minutes(45 * number)};
        RecordingSession session;
        session.id = randomUuid();
        session.title = "Quote review " + std::to_string(number);
        session.startedAt = start;
        session.endedAt = start + std::chrono::minutes(40);
        session.directory = library / RecordingStore::sessionDirectoryName(session.id, session.title, start);
        session.artifacts = {.micAudio = session.directory / "mic.wav",
                             .speakerAudio = session.directory / "speaker.m4a",
                             .transcript = session.directory / "transcript.json",
                             .summary = session.directory / "summary.json",
                             .diagnostics = session.directory / "diagnostics.json"};
        std::filesystem::create_directories(session.directory);
        write(encodeJson(toJson(session)), session.directory / "session.json");
        write(said, session.artifacts.transcript);
    }
}

} // namespace talkledger
