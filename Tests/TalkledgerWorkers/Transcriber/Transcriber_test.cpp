#include "Fakes/FakeSpeechEngine.h"
#include "Support/RunTask.h"
#include "Support/TemporaryFolder.h"
#include "TalkledgerWorkers/Protocol/Message.h"
#include "TalkledgerWorkers/SpokenAudio.h"
#include "TalkledgerWorkers/Transcriber/Transcriber.h"

#include <boost/asio/co_spawn.hpp>
#include <boost/asio/local/connect_pair.hpp>
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <exception>
#include <filesystem>
#include <future>
#include <optional>
#include <stdexcept>
#include <string>
#include <utility>
#include <vector>

namespace talkledger {
namespace {

namespace asio = boost::asio;

/// A transcriber with the program's end of its socket, on the test's thread.
class TranscriberTest : public ::testing::Test {
protected:
    TranscriberTest() {
        FrameSocket::Socket ours(context);
        FrameSocket::Socket theirs(context);
        asio::local::connect_pair(ours, theirs);
        program.emplace(std::move(ours));
        script.hearing = [this](const std::string& locale) {
            if (locale == "slow") {
                mayGoOn.wait();
            }
        };
        transcriber.emplace(
            std::move(theirs), testing::FakeSpeechEngine::factory(script),
            [](const std::filesystem::path&) { throw SpeechEngineError("no model"); }, Transcriber::Settings{});
        asio::co_spawn(context, transcriber->run(), [this](const std::exception_ptr&) { program->close(); });
        asio::co_spawn(context, program->writeQueued(), [](const std::exception_ptr&) {});
        receive<Hello>();
    }

    void TearDown() override { letGoOn(); }

    void letGoOn() {
        if (!std::exchange(goesOn, true)) {
            goingOn.set_value();
        }
    }

    template <typename Message>
    void send(const Message& message) {
        program->send(encodeMessage(message));
    }

    std::optional<MessageFromTranscriber> receive() {
        std::optional<Frame> frame = testing::runTask(context, program->read());
        return frame ? std::optional(decodeMessage<MessageFromTranscriber>(*std::move(frame))) : std::nullopt;
    }

    /// What is told until then is passed over.
    template <typename Message>
    Message receive() {
        for (;;) {
            const std::optional<MessageFromTranscriber> message = receive();
            if (!message) {
                throw std::runtime_error("The transcriber has gone.");
            }
            if (const Message* const found = std::get_if<Message>(&*message)) {
                return *found;
            }
        }
    }

    std::filesystem::path shortFile() {
        testing::writeWav(folder / "short.wav", testing::Samples(3200, 1000));
        return folder / "short.wav";
    }

    static StreamAudio audio(std::int64_t request, std::size_t samples) {
        return {.request = request, .start = 0, .payload = std::vector<std::byte>(2 * samples, std::byte{1})};
    }

    testing::TemporaryFolder folder;
    std::promise<void> goingOn; ///< of the slow engines
    std::shared_future<void> mayGoOn{goingOn.get_future()};
    bool goesOn{false};
    testing::FakeSpeechScript script;
    asio::io_context context;
    std::optional<FrameSocket> program;
    std::optional<Transcriber> transcriber;
};

TEST_F(TranscriberTest, FilesAndStreamsDoNotWaitForEachOther) {
    for (const std::int64_t request : {1, 2}) {
        send(TranscribeFile{.request = request, .path = shortFile(), .engine = {.locale = "slow"}, .startTime = 0});
        EXPECT_EQ(receive<TranscriptionStarted>().request, request);
    }
    send(StartStream{.request = 3, .engine = {.locale = "en_US"}, .reportsHypotheses = true});
    EXPECT_EQ(receive<TranscriptionStarted>().request, 3);
    send(audio(3, 1600));
    EXPECT_FALSE(receive<TranscriptionResult>().isFinal);
    EXPECT_TRUE(receive<TranscriptionResult>().isFinal);
    EXPECT_EQ(receive<StreamConsumed>().samples, 1600);
    send(FinishStream{3});
    EXPECT_EQ(receive<TranscriptionResult>().text, "end");
    EXPECT_EQ(receive<TranscriptionFinished>().request, 3);
    letGoOn();
    receive<TranscriptionFinished>();
    receive<TranscriptionFinished>();
}

TEST_F(TranscriberTest, SlowStreamsHoldUpNeitherFilesNorSignsOfLife) {
    for (const std::int64_t request : {1, 2}) {
        send(StartStream{.request = request, .engine = {.locale = "slow"}});
        receive<TranscriptionStarted>();
        send(audio(request, StreamAudio::mostUnconsumed)); // all that may be under way
    }
    send(Ping{});
    receive<Pong>();
    send(TranscribeFile{.request = 3, .path = shortFile(), .engine = {.locale = "en_US"}, .startTime = 0});
    EXPECT_EQ(receive<TranscriptionFinished>().request, 3);
    letGoOn();
    receive<StreamConsumed>();
    receive<StreamConsumed>();
    send(CancelRequest{1});
    EXPECT_EQ(receive<TranscriptionFinished>().request, 1);
    send(audio(1, 100)); // to be passed over
    send(audio(2, StreamAudio::mostUnconsumed));
    EXPECT_EQ(receive<StreamConsumed>().request, 2);
    send(FinishStream{2});
    EXPECT_EQ(receive<TranscriptionFinished>().request, 2);
}

TEST_F(TranscriberTest, LeavesAProgramThatSendsWithoutWaiting) {
    send(StartStream{.request = 1, .engine = {.locale = "slow"}});
    send(audio(1, StreamAudio::mostUnconsumed));
    send(audio(1, 1));
    EXPECT_THROW(receive<RequestFailed>(), std::runtime_error);
}

TEST_F(TranscriberTest, LeavesAProgramThatSendsHalfSamples) {
    send(StreamAudio{.request = 1, .start = 0, .payload = {std::byte{1}}});
    EXPECT_THROW(receive<RequestFailed>(), std::runtime_error);
}

} // namespace
} // namespace talkledger
