#include "TalkledgerCore/Presentation/AppLanguage.h"

#include "TalkledgerCore/Capture/CapturePermissionInspector.h"
#include "TalkledgerCore/Presentation/RecordingDisplayMetadataBuilder.h"

#include <algorithm>
#include <array>
#include <utility>

namespace talkledger {

namespace {

constexpr auto appTexts = std::to_array<AppText>({
#define TALKLEDGER_TEXT(key, english, japanese) {#key, english, japanese},
#include "TalkledgerCore/Presentation/AppTexts.inc"
#undef TALKLEDGER_TEXT
});

using Translation = std::pair<std::string_view, std::string_view>;

constexpr std::array<Translation, 7> wholeMessages{{
    {"Session created.", "セッションを作成しました。"},
    {"Microphone capture started.", "マイク録音を開始しました。"},
    {"System audio capture started.", "システム音声録音を開始しました。"},
    {"Microphone capture stopped.", "マイク録音を停止しました。"},
    {"System audio capture stopped.", "システム音声録音を停止しました。"},
    {"Transcript and summary generated.", "文字起こしと要約を生成しました。"},
    {"Empty transcript and summary generated.", "空の文字起こしと要約を生成しました。"},
}};

/// What `TrackHealth` tells of a track.
constexpr std::array<Translation, 4> trackMessages{{
    {"The microphone was not available for a time. Its track is silent there.",
     "マイクが使えない時間がありました。その間は無音です。"},
    {"Some of the microphone's sound could not be saved.", "マイクの音声の一部を保存できませんでした。"},
    {"The system audio was not available for a time. Its track is silent there.",
     "システム音声が使えない時間がありました。その間は無音です。"},
    {"Some of the system audio could not be saved.", "システム音声の一部を保存できませんでした。"},
}};

/// What `RecordingRevision` tells of a recording.
constexpr std::array<Translation, 5> revisionMessages{{
    {"The recording was interrupted and has been finished later.", "録音が中断されたため、あとから仕上げました。"},
    {"The live transcript was taken for the recording's own.", "録音中の文字起こしを採用しました。"},
    {"Transcribed again.", "文字起こしをやり直しました。"},
    {"Summarized again.", "要約をやり直しました。"},
    {"The summary was drafted from key phrases.", "要約は、手がかりになる言い回しから下書きしました。"},
}};

/// Beginnings of messages that end in an error's own text, which stays.
constexpr std::array<Translation, 5> failurePrefixes{{
    {"Microphone capture failed: ", "マイク録音の開始に失敗しました: "},
    {"System audio capture failed: ", "システム音声録音の開始に失敗しました: "},
    {"Microphone capture stop failed: ", "マイク録音の停止に失敗しました: "},
    {"System audio capture stop failed: ", "システム音声録音の停止に失敗しました: "},
    {"Transcription failed: ", "文字起こしに失敗しました: "},
}};

/// The message in Japanese, if it stands in the table as it is.
template <typename Table>
std::optional<std::string> translated(const Table& table, const std::string& message) {
    for (const auto& [english, japanese] : table) {
        if (message == english) {
            return std::string(japanese);
        }
    }
    return std::nullopt;
}

std::string withPrefixReplaced(const std::string& text, std::string_view prefix, std::string_view replacement) {
    return text.starts_with(prefix) ? std::string(replacement) + text.substr(prefix.size()) : text;
}

} // namespace

std::string_view rawValue(DisplayLanguage language) {
    return language == DisplayLanguage::japanese ? "japanese" : "english";
}

template <>
std::optional<DisplayLanguage> fromRawValue(std::string_view text) {
    for (const DisplayLanguage language : allDisplayLanguages) {
        if (rawValue(language) == text) {
            return language;
        }
    }
    return std::nullopt;
}

std::span<const AppText> AppCopy::texts() {
    return appTexts;
}

std::string AppCopy::permissionLabel(std::optional<CapturePermissionState> state) const {
    if (!state) {
        return permissionChecking();
    }
    switch (*state) {
    case CapturePermissionState::authorized:
        return permissionAllowed();
    case CapturePermissionState::notDetermined:
        return permissionNotAsked();
    case CapturePermissionState::denied:
        return permissionDenied();
    case CapturePermissionState::restricted:
        return permissionRestricted();
    case CapturePermissionState::unknown:
        break;
    }
    return permissionUnknown();
}

std::string AppCopy::roleLabel(SpeakerRole role) const {
    return role == SpeakerRole::customer ? text("Customer", "相手") : text("Me", "自分");
}

std::string AppCopy::artifactStatusLabel(bool exists, bool isEmpty) const {
    if (!exists) {
        return text("Missing", "未生成");
    }
    return isEmpty ? text("Empty", "空ファイル") : saved();
}

std::string AppCopy::displayStatusLabel(RecordingDisplayStatus status) const {
    return status == RecordingDisplayStatus::recording ? recording() : transcribed();
}

std::string AppCopy::sessionTitle(const std::string& title) const {
    const AppCopy other{language == DisplayLanguage::english ? DisplayLanguage::japanese : DisplayLanguage::english};
    return withPrefixReplaced(title, other.sessionTitlePrefix() + " ", sessionTitlePrefix() + " ");
}

std::string AppCopy::diagnosticMessage(const std::string& message) const {
    if (language == DisplayLanguage::english) {
        return message;
    }
    if (message == AppCopy{DisplayLanguage::english}.noSpeechRecogniser()) {
        return noSpeechRecogniser();
    }
    if (const auto whole = translated(wholeMessages, message)) {
        return *whole;
    }
    if (const auto ofTrack = translated(trackMessages, message)) {
        return *ofTrack;
    }
    if (const auto ofRevision = translated(revisionMessages, message)) {
        return *ofRevision;
    }
    for (const auto& [english, japanese] : failurePrefixes) {
        if (message.starts_with(english)) {
            return withPrefixReplaced(message, english, japanese);
        }
    }
    return message;
}

bool AppCopy::tellsOfLoss(const std::string& message) {
    return message == AppCopy{DisplayLanguage::english}.noSpeechRecogniser() || translated(trackMessages, message) ||
           std::ranges::any_of(failurePrefixes,
                               [&](const Translation& prefix) { return message.starts_with(prefix.first); });
}

bool AppCopy::tellsOfFailure(const std::string& message) {
    return tellsOfLoss(message) || message.starts_with("Foundation Models summary failed: ");
}

std::string AppCopy::summaryOverview(const std::string& overview) const {
    return overview == SalesSummary::fallbackOverview ? text(overview, "商談内容を確認用に保存しました。") : overview;
}

std::string AppCopy::followUpEmailDraft(const std::string& draft) const {
    return draft == SalesSummary::fallbackFollowUpEmailDraft ? text(draft, "本日はありがとうございました。") : draft;
}

} // namespace talkledger
