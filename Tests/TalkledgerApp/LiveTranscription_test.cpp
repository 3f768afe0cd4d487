#include "TalkledgerApp/AppFixture.h"
#include "TalkledgerApp/RecordingListModel.h"
#include "TalkledgerApp/TranscriptLinesModel.h"
#include "TalkledgerCore/Support/TaskHandle.h"
#include "TalkledgerCore/Support/Uuid.h"

#include <gmock/gmock.h>

#include <QAbstractItemModelTester>
#include <QSignalSpy>
#include <algorithm>
#include <chrono>
#include <iterator>
#include <string>
#include <vector>

namespace talkledger::testing {
namespace {

using ::testing::ElementsAre;
using ::testing::IsEmpty;
using ::testing::SizeIs;

SpeechTranscriptionResult supposed(const std::string& text, double start, double duration) {
    SpeechTranscriptionResult result = spoken(text, start, duration);
    result.isFinal = false;
    return result;
}

Task<> takeOne(std::shared_ptr<AnalyzerInputSequence> from, std::vector<AnalyzerInput>& taken) {
    const std::optional<AnalyzerInput> input = co_await from->next();
    taken.push_back(input.value());
}

/// The live transcription as the model and the list of lines show it.
class LiveTranscriptionTest : public AppFixture {
protected:
    std::vector<std::string> liveTexts() {
        std::vector<std::string> texts;
        std::ranges::transform(model().liveTranscriptDocument().value_or(TranscriptDocument()).segments,
                               std::back_inserter(texts), &TranscriptSegment::text);
        return texts;
    }

    static std::vector<std::string> textsOf(const TranscriptLinesModel& lines) {
        std::vector<std::string> texts;
        for (int row = 0; row < lines.rowCount(); ++row) {
            const bool isPartial = lines.data(lines.index(row), TranscriptLinesModel::isPartial).toBool();
            texts.push_back(lines.data(lines.index(row), TranscriptLinesModel::text).toString().toStdString() +
                            (isPartial ? "..." : ""));
        }
        return texts;
    }
};

TEST_F(LiveTranscriptionTest, ShowsWhatBothSidesSayWithoutEchoes) {
    makeModel();
    EXPECT_EQ(model().liveTranscriptDocument(), std::nullopt);
    recordLive();
    EXPECT_EQ(model().liveTranscriptDocument(), std::nullopt) << "nothing has been said";
    say(AudioChannel::speaker, supposed("What does it", 1, 1));
    say(AudioChannel::mic, spoken("What does it cost?", 1.2, 2));
    say(AudioChannel::speaker, spoken("What does it cost?", 1, 2));
    EXPECT_THAT(liveTexts(), ElementsAre("What does it cost?")) << "the microphone has heard it as well";
    EXPECT_EQ(model().liveTranscriptDocument()->segments.front().role, SpeakerRole::customer);
    say(AudioChannel::mic, spoken("Two hundred.", 4, 1));
    EXPECT_THAT(liveTexts(), ElementsAre("What does it cost?", "Two hundred."));
    EXPECT_EQ(model().transcript(*model().currentSession()), model().liveTranscriptDocument());
    stop();
    EXPECT_EQ(model().liveTranscriptDocument(), std::nullopt);
    EXPECT_FALSE(model().isListening());
}

TEST_F(LiveTranscriptionTest, HearsWhatTheTracksDeliverOnTheirTimeLine) {
    makeModel();
    recordLive();
    hearSomething();
    std::vector<AnalyzerInput> inputs;
    for (const AudioChannel channel : {AudioChannel::mic, AudioChannel::speaker}) {
        startTask(QtMainExecutor(context_), takeOne(live(channel).inputs, inputs));
    }
    waitUntil([&] { return inputs.size() == 2; });
    for (const AnalyzerInput& input : inputs) {
        EXPECT_EQ(input.buffer->format, (AudioFormat{AudioSampleFormat::int16, 16000, 1, true}));
        EXPECT_GE(input.bufferStartTime, 0);
        EXPECT_LT(input.bufferStartTime, 60);
    }
    stop();
}

TEST_F(LiveTranscriptionTest, StaysInViewUntilTheFilesAreTranscribed) {
    makeModel();
    recordLive();
    hearSomething();
    say(AudioChannel::mic, spoken("We agree.", 1, 1));
    speech_.results.close();
    speech_.finalizing.close();
    model().stopRecording();
    waitUntil([this] { return speech_.results.waitingCount() == 2; });
    EXPECT_FALSE(model().isListening());
    EXPECT_THAT(liveTexts(), ElementsAre("We agree."));
    say(AudioChannel::speaker, spoken("So do we.", 3, 1));
    EXPECT_THAT(liveTexts(), ElementsAre("We agree.", "So do we.")) << "what was still being recognised";
    speech_.results.open();
    waitUntilIdle();
    EXPECT_EQ(model().liveTranscriptDocument(), std::nullopt);
    EXPECT_EQ(model().transcript(model().sessions().front())->segments.front().text, "The budget is approved.");
    speech_.finalizing.open();
}

TEST_F(LiveTranscriptionTest, DropsWhatComesAfterItsRecording) {
    makeModel();
    recordLive();
    speech_.finalizing.close();
    const std::vector<std::shared_ptr<FakeLiveAnalysis>> earlier = speech_.live;
    stop(); // although the recogniser does not come to its end
    recordLive();
    const QSignalSpy changes(&model(), &AppModel::liveLinesChanged);
    earlier.front()->say(spoken("Too late.", 1, 1));
    say(AudioChannel::mic, spoken("In time.", 1, 1));
    EXPECT_THAT(liveTexts(), ElementsAre("In time."));
    EXPECT_EQ(changes.count(), 1);
    speech_.finalizing.open();
    stop();
}

TEST_F(LiveTranscriptionTest, IsNotMissedByARecordingThatCannotHaveIt) {
    speech_.scripts["ja_JP"].prepareFailure = "no engine";
    makeModel();
    record();
    EXPECT_TRUE(model().isRecording());
    EXPECT_FALSE(model().isListening());
    EXPECT_EQ(model().lastError(), std::nullopt);
    hearSomething();
    stop();
    EXPECT_THAT(model().transcript(model().sessions().front())->segments, SizeIs(1)) << "from the files";
}

TEST_F(LiveTranscriptionTest, ARecogniserThatIsStillStartingIsLetGoOf) {
    makeModel();
    speech_.liveStart.close();
    record();
    waitUntil([this] { return speech_.liveStart.waitingCount() == 2; });
    stop();
    waitUntil([this] { return speech_.liveStart.cancelledCount() == 2; });
    EXPECT_FALSE(model().isListening());
}

TEST_F(LiveTranscriptionTest, TellsWhenARecogniserBreaksDownAndTheOtherSideGoesOn) {
    makeModel();
    recordLive();
    say(AudioChannel::speaker, spoken("Before.", 1, 1));
    live(AudioChannel::speaker).resultFailure = "the engine crashed";
    live(AudioChannel::speaker).end();
    waitUntil([&] { return !model().isListening(AudioChannel::speaker); });
    say(AudioChannel::mic, spoken("After.", 3, 1));
    EXPECT_THAT(liveTexts(), SizeIs(2));
    model().modelFilesChanged();
    waitUntil([this] { return model().isListening(AudioChannel::speaker); });
    say(AudioChannel::speaker, spoken("Again.", 5, 1));
    EXPECT_THAT(liveTexts(), SizeIs(3));
    stop();
}

TEST_F(LiveTranscriptionTest, BeginsInMidRecordingWhenAModelArrives) {
    speech_.scripts["ja_JP"].status = SpeechAssetStatus::unsupported;
    makeModel();
    record();
    waitUntil([this] { return !model().awaitsLiveText(); });
    model().modelFilesChanged();
    waitUntil([this] { return !model().awaitsLiveText(); });
    speech_.scripts["ja_JP"].status = SpeechAssetStatus::installed;
    model().modelFilesChanged();
    waitUntil([this] { return model().isListening(AudioChannel::mic) && model().isListening(AudioChannel::speaker); });
    model().modelFilesChanged();
    EXPECT_THAT(speech_.live, SizeIs(2)) << "what is heard goes on";
    stop();
}

TEST_F(LiveTranscriptionTest, EndsWithTheProgram) {
    liveSummaryInterval_ = std::chrono::milliseconds(1);
    languageModel_.state.isAvailable = true;
    languageModel_.answering.close();
    makeModel();
    recordLive();
    say(AudioChannel::mic, spoken("We would like to begin with the standard package in May.", 1, 1));
    waitUntil([this] { return languageModel_.answering.waitingCount() == 1; });
    EXPECT_TRUE(model().isRecording()) << "nobody stops it, and what waits has to go without harm";
}

TEST_F(LiveTranscriptionTest, LinesComeAndChangeOneByOne) {
    const RecordingSession other = addFinishedRecording("other", 1'000, {});
    StoredTranscript stored(makeModel());
    TranscriptLinesModel lines(model(), stored);
    const auto choose = [&](const QString& recordingID) {
        stored.setRecordingID(recordingID);
        lines.setRecordingID(recordingID);
    };
    const QAbstractItemModelTester tester(&lines, QAbstractItemModelTester::FailureReportingMode::Fatal);
    recordLive();
    choose(model().currentRecordingID());
    const QSignalSpy resets(&lines, &QAbstractItemModel::modelReset);
    say(AudioChannel::speaker, supposed("Could you", 10, 1));
    say(AudioChannel::mic, spoken("Good morning.", 1, 1));
    EXPECT_THAT(textsOf(lines), ElementsAre("Good morning.", "Could you..."));
    say(AudioChannel::speaker, spoken("Could you send it?", 10, 2));
    EXPECT_THAT(textsOf(lines), ElementsAre("Good morning.", "Could you send it?"));
    model().refreshSession(*model().currentSession());
    EXPECT_THAT(textsOf(lines), ElementsAre("Good morning.", "Could you send it?"));
    EXPECT_EQ(lines.lastTimecode(), QStringLiteral("00:10"));
    hearSomething();
    stop();
    EXPECT_THAT(textsOf(lines), ElementsAre("The budget is approved."));
    EXPECT_EQ(resets.count(), 0) << "what is shown keeps its place";

    choose(QString::fromStdString(uuidText(other.id)));
    EXPECT_THAT(textsOf(lines), IsEmpty());
    EXPECT_EQ(resets.count(), 1);
    recordLive();
    say(AudioChannel::mic, spoken("Elsewhere.", 1, 1));
    EXPECT_THAT(textsOf(lines), IsEmpty()) << "another recording is shown";
    stop();
}

} // namespace
} // namespace talkledger::testing
