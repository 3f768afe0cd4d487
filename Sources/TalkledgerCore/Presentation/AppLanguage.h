#pragma once

#include "TalkledgerCore/Model/Models.h"

#include <optional>
#include <span>
#include <string>
#include <string_view>

/// Every text that the user sees, in both languages.
namespace talkledger {

enum class CapturePermissionState;
enum class RecordingDisplayStatus;

enum class DisplayLanguage { japanese, english };

inline constexpr DisplayLanguage allDisplayLanguages[] = {DisplayLanguage::japanese, DisplayLanguage::english};

std::string_view rawValue(DisplayLanguage language);
template <>
std::optional<DisplayLanguage> fromRawValue(std::string_view text);

/// A text under its key, in both languages.
struct AppText {
    std::string_view key;
    std::string_view english;
    std::string_view japanese;
};

/// The texts in one language: an operation per key of AppTexts.inc, and the translation of what others produce in
/// English.
struct AppCopy {
    DisplayLanguage language{DisplayLanguage::japanese};

    /// All keys in their declared order, for those who ask by name.
    static std::span<const AppText> texts();

// clang-format off
#define TALKLEDGER_TEXT(key, english, japanese) std::string key() const { return text(english, japanese); }
// clang-format on
#include "TalkledgerCore/Presentation/AppTexts.inc"
#undef TALKLEDGER_TEXT

    /// No state means that it is being asked for.
    std::string permissionLabel(std::optional<CapturePermissionState> state) const;
    std::string roleLabel(SpeakerRole role) const;
    std::string artifactStatusLabel(bool exists, bool isEmpty) const;
    std::string displayStatusLabel(RecordingDisplayStatus status) const;

    /// A stored title with its generated prefix in this language; titles of the user's own stay.
    std::string sessionTitle(const std::string& title) const;

    /// One English message of a recording's diagnostics.
    std::string diagnosticMessage(const std::string& message) const;

    /// Whether such a message says that sound or its transcript is missing.
    static bool tellsOfLoss(const std::string& message);

    /// Whether it says that anything failed, what can be made up for later included.
    static bool tellsOfFailure(const std::string& message);
    std::string summaryOverview(const std::string& overview) const;
    std::string followUpEmailDraft(const std::string& draft) const;

    bool operator==(const AppCopy&) const = default;

private:
    std::string text(std::string_view english, std::string_view japanese) const {
        return std::string(language == DisplayLanguage::english ? english : japanese);
    }
};

} // namespace talkledger
