#include "TalkledgerCore/Model/ModelsJson.h"
#include "TalkledgerCore/Support/Uuid.h"

#include <gtest/gtest.h>
#include <nlohmann/json.hpp>

namespace talkledger {
namespace {

template <typename Value>
Value decoded(const Json& value) {
    return decodeJson<Value>(value.dump(), {.name = "The test's text", .advice = ""});
}

template <typename Value>
JsonError::Case failureOf(const Json& value) {
    try {
        decoded<Value>(value);
    } catch (const JsonError& error) {
        return error.failure();
    }
    ADD_FAILURE() << "No error for " << value;
    return JsonError::Case::malformed;
}

/// Every one of `keys` is needed, and takes no number list for its value.
template <typename Value>
void expectRequired(const Json& whole, const std::vector<std::string>& keys) {
    EXPECT_NO_THROW(decoded<Value>(whole));
    for (const std::string& key : keys) {
        Json changed = whole;
        changed.erase(key);
        EXPECT_EQ(failureOf<Value>(changed), JsonError::Case::missingKey) << key;
        changed[key] = Json::array({1});
        EXPECT_EQ(failureOf<Value>(changed), JsonError::Case::wrongType) << key;
        changed[key] = nullptr;
        EXPECT_EQ(failureOf<Value>(changed), JsonError::Case::wrongType) << key;
    }
}

Json segmentJson() {
    return {{"channel", "mic"}, {"startTime", 1}, {"duration", 2.5}, {"text", "hello"}};
}

RecordingSession session() {
    const std::filesystem::path folder = "/data/2026-11-15T09-30-00Z-商談 1";
    return {.id = *parseUuid("0A1B2C3D-4E5F-6071-8293-A4B5C6D7E8F9"),
            .title = " 商談 ",
            .startedAt = Date(std::chrono::seconds(1763199000)),
            .endedAt = std::nullopt,
            .directory = folder,
            .artifacts = {.micAudio = folder / "mic.wav",
                          .speakerAudio = folder / "speaker.m4a",
                          .transcript = folder / "transcript.json",
                          .summary = folder / "summary.json",
                          .diagnostics = folder / "diagnostics.json"}};
}

TEST(ModelsJson, FillsWhatASegmentMayLeaveOutAndTakesTheExactWordsOnly) {
    const TranscriptSegment segment(AudioChannel::mic, SpeakerRole::customer, 1, 2.5, "hello",
                                    TranscriptSegmentStatus::final);
    EXPECT_EQ(segment.role, SpeakerRole::me) << "that of its channel";
    Json json = segmentJson();
    expectRequired<TranscriptSegment>(json, {"channel", "startTime", "duration", "text"});
    EXPECT_EQ(decoded<TranscriptSegment>(json), segment);
    json["role"] = "customer";
    EXPECT_EQ(decoded<TranscriptSegment>(json), segment);
    for (const auto& [key, word] : {std::pair("channel", "Mic"), {"role", "speaker"}, {"status", "Final"}}) {
        Json changed = json;
        changed[key] = word;
        EXPECT_EQ(failureOf<TranscriptSegment>(changed), JsonError::Case::invalidValue) << key << word;
    }
}

TEST(ModelsJson, FailsAsAWholeForOneBadSegment) {
    Json document = {{"segments", {segmentJson(), segmentJson()}}};
    EXPECT_EQ(decoded<TranscriptDocument>(document).segments.size(), 2U);
    document["segments"][1].erase("text");
    EXPECT_EQ(failureOf<TranscriptDocument>(document), JsonError::Case::missingKey);
    EXPECT_EQ(failureOf<TranscriptDocument>(Json::array()), JsonError::Case::wrongType);
    EXPECT_EQ(failureOf<TranscriptDocument>(Json::object()), JsonError::Case::missingKey);
}

TEST(ModelsJson, LoadsSummariesWithoutDecisionsAndQuestions) {
    SalesSummary summary{.overview = "o",
                         .decisions = {"d"},
                         .customerPains = {"p"},
                         .decisionCriteria = {"c"},
                         .budgetSignals = {"b"},
                         .objections = {"x", "y"},
                         .nextActions = {"n"},
                         .unresolvedQuestions = {"q"},
                         .followUpEmailDraft = "f"};
    Json json = toJson(summary);
    EXPECT_EQ(decoded<SalesSummary>(json), summary);
    expectRequired<SalesSummary>(json, {"overview", "customerPains", "decisionCriteria", "budgetSignals", "objections",
                                        "nextActions", "followUpEmailDraft"});
    json.erase("decisions");
    json.erase("unresolvedQuestions");
    summary.decisions.clear();
    summary.unresolvedQuestions.clear();
    EXPECT_EQ(decoded<SalesSummary>(json), summary);
    json["decisions"] = "d";
    EXPECT_EQ(failureOf<SalesSummary>(json), JsonError::Case::wrongType);
}

TEST(ModelsJson, KeepsASessionInItsForm) {
    EXPECT_EQ(encodeJson(toJson(session())), R"({
  "artifacts": {
    "diagnostics": "file:\/\/\/data\/2026-11-15T09-30-00Z-%E5%95%86%E8%AB%87%201\/diagnostics.json",
    "micAudio": "file:\/\/\/data\/2026-11-15T09-30-00Z-%E5%95%86%E8%AB%87%201\/mic.wav",
    "speakerAudio": "file:\/\/\/data\/2026-11-15T09-30-00Z-%E5%95%86%E8%AB%87%201\/speaker.m4a",
    "summary": "file:\/\/\/data\/2026-11-15T09-30-00Z-%E5%95%86%E8%AB%87%201\/summary.json",
    "transcript": "file:\/\/\/data\/2026-11-15T09-30-00Z-%E5%95%86%E8%AB%87%201\/transcript.json"
  },
  "directory": "file:\/\/\/data\/2026-11-15T09-30-00Z-%E5%95%86%E8%AB%87%201\/",
  "id": "0A1B2C3D-4E5F-6071-8293-A4B5C6D7E8F9",
  "startedAt": "2025-11-15T09:30:00Z",
  "title": " 商談 "
})");
    RecordingSession ended = session();
    ended.endedAt = ended.startedAt + std::chrono::milliseconds(90500);
    EXPECT_NE(ended, session());
    const auto reloaded = decoded<RecordingSession>(toJson(ended));
    EXPECT_EQ(reloaded.endedAt, ended.startedAt + std::chrono::seconds(90));
}

TEST(ModelsJson, AsksForAllOfASessionButItsEnd) {
    Json json = toJson(session());
    expectRequired<RecordingSession>(json, {"id", "title", "startedAt", "directory", "artifacts"});
    expectRequired<RecordingArtifacts>(json["artifacts"],
                                       {"micAudio", "speakerAudio", "transcript", "summary", "diagnostics"});
    json["endedAt"] = nullptr;
    EXPECT_EQ(decoded<RecordingSession>(json), session());
    for (const char* key : {"id", "startedAt", "endedAt", "directory"}) {
        Json changed = json;
        changed[key] = "mic.wav";
        EXPECT_EQ(failureOf<RecordingSession>(changed), JsonError::Case::invalidValue) << key;
    }
}

} // namespace
} // namespace talkledger
