#include "Fakes/FakeAuthorization.h"
#include "Fakes/FakeSystemAudio.h"
#include "Support/RunTask.h"
#include "Support/RunningTask.h"
#include "TalkledgerCore/Capture/AudioCaptureError.h"
#include "TalkledgerCore/Capture/CapturePermissionInspector.h"
#include "TalkledgerCore/Capture/PermissionContinuation.h"

#include <gtest/gtest.h>
#include <nlohmann/json.hpp>

#include <atomic>
#include <thread>

namespace talkledger {
namespace {

using State = CapturePermissionState;
using namespace std::chrono_literals;

class CapturePermissionInspectorTest : public ::testing::Test {
protected:
    boost::asio::io_context context;
    testing::CallLog log;
    testing::FakeAuthorization authorization;
    testing::FakeSystemAudio systemAudio{log};

    State requestMicrophone(std::chrono::duration<double> timeout) {
        return testing::runTask(context, CapturePermissionInspector::requestMicrophoneAccess(authorization, timeout,
                                                                                             context.get_executor()));
    }

    State requestScreenCapture() {
        return testing::runTask(
            context, CapturePermissionInspector::requestScreenCaptureAccess(authorization, context.get_executor()));
    }

    CapturePermissionSnapshot snapshot() {
        return testing::runTask(
            context, CapturePermissionInspector::snapshot(authorization, systemAudio, context.get_executor()));
    }

    Task<bool> microphoneAccess(std::chrono::duration<double> timeout) {
        return CapturePermissionInspector::microphoneAccess(authorization, timeout, context.get_executor());
    }
};

TEST_F(CapturePermissionInspectorTest, ReadsTheStatesWithoutPrompting) {
    authorization.status = AuthorizationStatus::notDetermined;
    authorization.screenCaptureIsGranted = false;
    EXPECT_EQ(CapturePermissionInspector::quickSnapshot(authorization),
              (CapturePermissionSnapshot{State::notDetermined, State::notDetermined, State::unknown}));
    systemAudio.contentFailure = "not permitted";
    EXPECT_EQ(snapshot(), (CapturePermissionSnapshot{State::notDetermined, State::notDetermined, State::denied}));
    systemAudio.contentFailure.reset();
    authorization.status = AuthorizationStatus::authorized;
    authorization.screenCaptureIsGranted = true;
    EXPECT_EQ(snapshot(), (CapturePermissionSnapshot{State::authorized, State::authorized, State::authorized}));
    EXPECT_EQ(authorization.promptCount, 0);
    EXPECT_EQ(CapturePermissionInspector::microphoneState(static_cast<AuthorizationStatus>(17)), State::unknown);

    EXPECT_EQ(requestScreenCapture(), State::authorized);
    authorization.screenCaptureIsGranted = false;
    EXPECT_EQ(requestScreenCapture(), State::denied);
}

TEST_F(CapturePermissionInspectorTest, PromptsOnlyForAnUndecidedMicrophone) {
    authorization.status = AuthorizationStatus::authorized;
    EXPECT_EQ(requestMicrophone(60s), State::authorized);
    for (const int status : {1, 2, 17}) {
        authorization.status = static_cast<AuthorizationStatus>(status);
        EXPECT_EQ(requestMicrophone(60s), State::denied) << status;
    }
    EXPECT_EQ(authorization.promptCount, 0);
}

TEST_F(CapturePermissionInspectorTest, TakesTheAnswerFromAnyThread) {
    authorization.status = AuthorizationStatus::notDetermined;
    for (const bool isGranted : {true, false}) {
        testing::RunningTask<bool> request(context, microphoneAccess(60s));
        testing::poll(context);
        EXPECT_FALSE(request.hasEnded());
        std::thread(authorization.answer, isGranted).join();
        testing::poll(context);
        EXPECT_EQ(request.result(), isGranted);
        // A platform that answers twice changes nothing.
        authorization.answer(!isGranted);
    }
}

TEST_F(CapturePermissionInspectorTest, GivesUpOnAnUnansweredPrompt) {
    authorization.status = AuthorizationStatus::notDetermined;
    EXPECT_EQ(requestMicrophone(1ms), State::unknown);
    EXPECT_EQ(testing::failureText([&] { testing::runTask(context, microphoneAccess(1ms)); }),
              "Microphone permission was not answered.");
    authorization.answer(true);
}

TEST_F(CapturePermissionInspectorTest, OutlivesAWaitThatIsCancelled) {
    authorization.status = AuthorizationStatus::notDetermined;
    testing::RunningTask<bool> request(context, microphoneAccess(60s));
    testing::poll(context);
    request.cancel();
    EXPECT_THROW(request.result(), boost::system::system_error);
    authorization.answer(true);
    testing::poll(context);
}

TEST(PermissionContinuation, CompletesOnceHoweverManyRace) {
    for (int round = 0; round < 100; ++round) {
        std::atomic<int> completions{0};
        PermissionContinuation continuation([&](const std::exception_ptr&, bool) { ++completions; });
        std::thread answering([&] { continuation.resume(true); });
        continuation.fail(std::make_exception_ptr(std::runtime_error("late")));
        answering.join();
        EXPECT_EQ(completions, 1);
    }
}

TEST(CapturePermissionSnapshot, ReadsBackAndRefusesUnknownStates) {
    const CapturePermissionSnapshot snapshot{State::authorized, State::notDetermined, State::restricted};
    const Json json = toJson(snapshot);
    EXPECT_EQ(json.dump(), R"({"microphone":"authorized","screenCapture":"notDetermined","systemAudio":"restricted"})");
    EXPECT_EQ(decodeJson<CapturePermissionSnapshot>(json.dump(), {"The snapshot", ""}), snapshot);
    Json wrong = json;
    wrong["systemAudio"] = "Restricted";
    EXPECT_THROW(decodeJson<CapturePermissionSnapshot>(wrong.dump(), {"The snapshot", ""}), JsonError);
}

} // namespace
} // namespace talkledger
