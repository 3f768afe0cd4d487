#include "TalkledgerCore/Capture/CapturePermissionInspector.h"

#include "TalkledgerCore/Capture/AudioCaptureError.h"
#include "TalkledgerCore/Capture/PermissionContinuation.h"
#include "TalkledgerCore/Support/Continuation.h"
#include "TalkledgerCore/Support/RunOn.h"
#include "TalkledgerCore/Support/TimerDuration.h"

#include <boost/asio/co_spawn.hpp>
#include <boost/asio/detached.hpp>
#include <boost/asio/steady_timer.hpp>
#include <boost/asio/this_coro.hpp>
#include <nlohmann/json.hpp>

#include <exception>
#include <functional>
#include <memory>
#include <utility>

namespace talkledger {

namespace {

constexpr CapturePermissionState allStates[] = {
    CapturePermissionState::authorized, CapturePermissionState::notDetermined, CapturePermissionState::denied,
    CapturePermissionState::restricted, CapturePermissionState::unknown,
};

CapturePermissionState stateFromJson(const JsonReader& reader) {
    const std::string text = reader.string();
    for (const CapturePermissionState state : allStates) {
        if (rawValue(state) == text) {
            return state;
        }
    }
    throw reader.invalid("the name of a permission state");
}

CapturePermissionState granted(bool isGranted) {
    return isGranted ? CapturePermissionState::authorized : CapturePermissionState::denied;
}

/// Nobody cancels it: when the answer came first, it wakes and changes nothing.
Task<> failWhenUnanswered(std::shared_ptr<PermissionContinuation> permission,
                          std::chrono::steady_clock::duration timeout) {
    boost::asio::steady_timer timer(co_await boost::asio::this_coro::executor, timeout);
    co_await timer.async_wait(boost::asio::use_awaitable);
    permission->fail(std::make_exception_ptr(AudioCaptureError(AudioCaptureError::Case::microphonePermissionTimedOut)));
}

Task<bool> answerToRequest(Authorization& authorization, std::chrono::duration<double> timeout) {
    const auto executor = co_await boost::asio::this_coro::executor;
    const auto answer = std::make_shared<Continuation<bool>>(executor);
    const auto permission = std::make_shared<PermissionContinuation>(
        [weakAnswer = std::weak_ptr(answer)](const std::exception_ptr& failure, bool isGranted) {
            const auto waiting = weakAnswer.lock();
            if (waiting && failure) {
                waiting->fail(failure);
            } else if (waiting) {
                waiting->resume(isGranted);
            }
        });
    authorization.requestMicrophoneAccess([permission](bool isGranted) { permission->resume(isGranted); });
    boost::asio::co_spawn(executor, failWhenUnanswered(permission, timerDuration(timeout)), boost::asio::detached);
    co_return co_await answer->wait();
}

} // namespace

std::string_view rawValue(CapturePermissionKind kind) {
    switch (kind) {
    case CapturePermissionKind::microphone:
        return "microphone";
    case CapturePermissionKind::systemAudio:
        return "systemAudio";
    case CapturePermissionKind::screenCapture:
        break;
    }
    return "screenCapture";
}

std::string_view rawValue(CapturePermissionState state) {
    switch (state) {
    case CapturePermissionState::authorized:
        return "authorized";
    case CapturePermissionState::notDetermined:
        return "notDetermined";
    case CapturePermissionState::denied:
        return "denied";
    case CapturePermissionState::restricted:
        return "restricted";
    case CapturePermissionState::unknown:
        break;
    }
    return "unknown";
}

bool isUsable(CapturePermissionState state) {
    return state == CapturePermissionState::authorized;
}

Json toJson(const CapturePermissionSnapshot& snapshot) {
    return Json{{"microphone", rawValue(snapshot.microphone)},
                {"screenCapture", rawValue(snapshot.screenCapture)},
                {"systemAudio", rawValue(snapshot.systemAudio)}};
}

template <>
CapturePermissionSnapshot fromJson(const JsonReader& reader) {
    CapturePermissionSnapshot snapshot;
    snapshot.microphone = stateFromJson(reader.required("microphone"));
    snapshot.screenCapture = stateFromJson(reader.required("screenCapture"));
    snapshot.systemAudio = stateFromJson(reader.required("systemAudio"));
    return snapshot;
}

CapturePermissionSnapshot CapturePermissionInspector::quickSnapshot(const Authorization& authorization) {
    CapturePermissionSnapshot snapshot;
    snapshot.microphone = microphoneState(authorization.microphoneStatus());
    // The preflight cannot tell "not asked yet" from "denied".
    snapshot.screenCapture = authorization.preflightScreenCaptureAccess() ? CapturePermissionState::authorized
                                                                          : CapturePermissionState::notDetermined;
    return snapshot;
}

Task<CapturePermissionSnapshot> CapturePermissionInspector::snapshot(const Authorization& authorization,
                                                                     SystemAudio& systemAudio, Executor background) {
    const std::function<CapturePermissionSnapshot()> look = [&authorization] { return quickSnapshot(authorization); };
    CapturePermissionSnapshot snapshot = co_await runOn(std::move(background), look);
    snapshot.systemAudio = co_await requestSystemAudioAccess(systemAudio);
    co_return snapshot;
}

CapturePermissionState CapturePermissionInspector::microphoneState(AuthorizationStatus from) {
    switch (from) {
    case AuthorizationStatus::notDetermined:
        return CapturePermissionState::notDetermined;
    case AuthorizationStatus::restricted:
        return CapturePermissionState::restricted;
    case AuthorizationStatus::denied:
        return CapturePermissionState::denied;
    case AuthorizationStatus::authorized:
        return CapturePermissionState::authorized;
    }
    return CapturePermissionState::unknown;
}

Task<CapturePermissionState>
CapturePermissionInspector::requestMicrophoneAccess(Authorization& authorization,
                                                    std::chrono::duration<double> timeoutSeconds, Executor background) {
    try {
        co_return granted(co_await microphoneAccess(authorization, timeoutSeconds, std::move(background)));
    } catch (const std::exception&) {
        co_return CapturePermissionState::unknown;
    }
}

Task<CapturePermissionState> CapturePermissionInspector::requestScreenCaptureAccess(Authorization& authorization,
                                                                                    Executor background) {
    const std::function<bool()> request = [&authorization] { return authorization.requestScreenCaptureAccess(); };
    co_return granted(co_await runOn(std::move(background), request));
}

Task<CapturePermissionState> CapturePermissionInspector::requestSystemAudioAccess(SystemAudio& systemAudio) {
    try {
        co_await systemAudio.shareableContent();
        co_return CapturePermissionState::authorized;
    } catch (const std::exception&) {
        co_return CapturePermissionState::denied;
    }
}

std::string CapturePermissionInspector::settingsURL(CapturePermissionKind kind) {
    const std::string page = "x-apple.systempreferences:com.apple.preference.security?Privacy_";
    switch (kind) {
    case CapturePermissionKind::microphone:
        return page + "Microphone";
    case CapturePermissionKind::systemAudio:
        return page + "AudioCapture";
    case CapturePermissionKind::screenCapture:
        break;
    }
    return page + "ScreenCapture";
}

Task<bool> CapturePermissionInspector::microphoneAccess(Authorization& authorization,
                                                        std::chrono::duration<double> timeout, Executor background) {
    const std::function<AuthorizationStatus()> look = [&authorization] { return authorization.microphoneStatus(); };
    const AuthorizationStatus status = co_await runOn(std::move(background), look);
    if (status != AuthorizationStatus::notDetermined) {
        co_return status == AuthorizationStatus::authorized;
    }
    co_return co_await answerToRequest(authorization, timeout);
}

} // namespace talkledger
