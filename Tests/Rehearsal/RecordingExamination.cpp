#include "Rehearsal/RecordingExamination.h"

#include "Rehearsal/AudioReading.h"
#include "Rehearsal/CannedSummary.h"
#include "Rehearsal/Comparison.h"
#include "Rehearsal/Waiting.h"
#include "TalkledgerCore/Capture/RecordingTimeline.h"
#include "TalkledgerCore/Export/RecordingDiagnostics.h"
#include "TalkledgerCore/Model/ModelsJson.h"
#include "TalkledgerPlatform/Files/PosixFileSystem.h"

#include <algorithm>
#include <cmath>
#include <string>

namespace talkledger::rehearsal {
namespace {

constexpr std::int64_t kMaximumBytes = 1 << 24;

template <typename Value>
Value load(const std::filesystem::path& file) {
    return decodeJson<Value>(PosixFileSystem().readFile(file, kMaximumBytes), jsonFile(file));
}

std::string spokenText(const Conversation& conversation, SpeakerRole speaker) {
    std::string text;
    for (const Utterance& utterance : conversation) {
        if (utterance.speaker == speaker) {
            text += utterance.text + " ";
        }
    }
    return text;
}

std::string writtenText(const TranscriptDocument& transcript, SpeakerRole speaker) {
    std::string text;
    for (const TranscriptSegment& segment : transcript.segments) {
        if (segment.role == speaker) {
            text += segment.text + " ";
        }
    }
    return text;
}

/// Finds a synchronisation sound within a quarter of a second of frame `expected`.
Correlation locate(const Samples& track, double expected) {
    const double searched = 0.25 * kFrameRate;
    return correlate(track, synchronizationSound(), static_cast<std::size_t>(std::max(expected - searched, 0.0)),
                     static_cast<std::size_t>(std::max(expected + searched, 0.0)));
}

void examineSound(const std::filesystem::path& recording, const Performance& performance, RecordingFindings& findings) {
    const Samples microphone = readFirstChannel(recording / "mic.wav");
    const Samples passage(performance.microphone.begin() + static_cast<std::ptrdiff_t>(performance.passageBegin),
                          performance.microphone.begin() + static_cast<std::ptrdiff_t>(performance.passageEnd));
    const std::optional<std::size_t> exactPlace = findExactly(microphone, passage);
    findings.micExact = exactPlace.has_value();

    const auto timeline = load<RecordingTimeline>(recording / "timeline.json");
    const Samples speaker = readFirstChannel(recording / "speaker.m4a");
    // The frame of the output's file that lies at the same moment as a frame of the microphone's file.
    const double shift = (timeline.micStart - timeline.speakerStart) * kFrameRate;
    const double begin = exactPlace
                             ? static_cast<double>(*exactPlace)
                             : correlate(microphone, synchronizationSound(), 0, std::size_t{10} * kFrameRate).position;
    const double length =
        static_cast<double>(performance.passageEnd - performance.passageBegin - synchronizationSound().size());

    const Correlation first = locate(speaker, begin + shift);
    const Correlation last = locate(speaker, first.position + length);
    findings.offsetMs = (first.position - begin - shift) * 1000 / kFrameRate;
    findings.lengthErrorMs = (last.position - first.position - length) * 1000 / kFrameRate;
    findings.likeness = std::min(first.coefficient, last.coefficient);
}

} // namespace

WordShares sharesOfWords(const Conversation& conversation, const TranscriptDocument& transcript) {
    const auto share = [&](SpeakerRole speaker) {
        return shareOfWords(spokenText(conversation, speaker), writtenText(transcript, speaker));
    };
    return {.me = share(SpeakerRole::me), .customer = share(SpeakerRole::customer)};
}

void demandCompleteness(const std::filesystem::path& recording, const std::filesystem::path& document) {
    for (const char* name : {"session.json", "mic.wav", "speaker.m4a", "timeline.json", "transcript.json",
                             "summary.json", "diagnostics.json"}) {
        if (!std::filesystem::exists(recording / name)) {
            throw RehearsalError(std::string("The recording has no ") + name + ".");
        }
    }
    if (!load<RecordingSession>(recording / "session.json").endedAt) {
        throw RehearsalError("The recording's session.json tells no end.");
    }
    const auto summary = load<SalesSummary>(recording / "summary.json");
    load<RecordingDiagnostics>(recording / "diagnostics.json");
    const std::string markdown = PosixFileSystem().readFile(document, kMaximumBytes);
    if (hasLanguageModelEngine() &&
        (!isCannedSummary(summary) || markdown.find(summary.overview) == std::string::npos)) {
        throw RehearsalError("The Markdown document lacks the summary that the language model wrote.");
    }
    for (const TranscriptSegment& segment : load<TranscriptDocument>(recording / "transcript.json").segments) {
        if (markdown.find(segment.text) == std::string::npos) {
            throw RehearsalError("The Markdown document lacks this part of the transcript: " + segment.text);
        }
    }
}

RecordingFindings examine(const std::filesystem::path& recording, const Conversation& conversation,
                          const Performance& performance) {
    RecordingFindings findings;
    const auto transcript = load<TranscriptDocument>(recording / "transcript.json");
    findings.words = sharesOfWords(conversation, transcript);
    examineSound(recording, performance, findings);
    return findings;
}

} // namespace talkledger::rehearsal
