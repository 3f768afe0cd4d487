#include "Rehearsal/EchoCount.h"

#include "Support/RunTask.h"
#include "TalkledgerCore/Support/Both.h"
#include "TalkledgerCore/Transcription/RecordedArtifactTranscriptProvider.h"
#include "TalkledgerCore/Transcription/TranscriptSourceSeparator.h"
#include "TalkledgerPlatform/Files/PosixFileSystem.h"
#include "TalkledgerPlatform/Speech/WorkerSpeechRecognition.h"

namespace talkledger::rehearsal {

std::size_t countEchoes(const std::filesystem::path& recording) {
    WorkerSpeechRecognition recognition(
        {.worker = {.program = workerProgram("talkledger-transcriber")}, .desktopLocale = "en_US"});
    const PosixFileSystem fileSystem;
    SpeechRecordingTrackTranscriptProvider provider(
        SpeechTranscriptionConfiguration("ja_JP", "en_US", RecordedArtifactTranscriptMode::finalAccuracy), recognition,
        fileSystem);
    auto [segments, customer] = testing::runTask(
        both(provider.transcribe(recording / "mic.wav", AudioChannel::mic, SpeakerRole::me),
             provider.transcribe(recording / "speaker.m4a", AudioChannel::speaker, SpeakerRole::customer)));
    segments.insert(segments.end(), customer.begin(), customer.end());
    return segments.size() - TranscriptSourceSeparator(1.0, 0.82).suppressMicrophoneEchoes(segments).size();
}

} // namespace talkledger::rehearsal
