#include "Support/RunTask.h"
#include "TalkledgerPlatform/Speech/Transcription.h"

#include <gtest/gtest.h>

#include <memory>
#include <thread>

namespace talkledger {
namespace {

using testing::runTask;

/// The worker tells on its own thread, as fast as it likes.
TEST(Transcription, DeliversWhatWasHeardBeforeAFailure) {
    for (int round = 0; round < 200; ++round) {
        boost::asio::io_context caller; // the worker may still be posting to it when the last event arrives
        Transcription transcription(std::make_shared<boost::asio::io_context>());
        const std::jthread worker([&] {
            transcription.tellStarted();
            transcription.tell(TranscriptionProgress{.request = 1, .share = 0.5});
            transcription.tellFailed(WorkerError::stopped("The worker"));
        });
        try {
            runTask(caller, transcription.started());
        } catch (const WorkerError&) {
            // It failed before its start was noticed.
        }
        EXPECT_TRUE(runTask(caller, transcription.next()).has_value());
        EXPECT_THROW(runTask(caller, transcription.next()), WorkerError);
        EXPECT_THROW(runTask(caller, transcription.delivered()), WorkerError);
    }
}

} // namespace
} // namespace talkledger
