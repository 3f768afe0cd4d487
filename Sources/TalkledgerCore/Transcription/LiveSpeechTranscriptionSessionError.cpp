#include "TalkledgerCore/Transcription/LiveSpeechTranscriptionSessionError.h"

#include <utility>

namespace talkledger {

namespace {

using Error = LiveSpeechTranscriptionSessionError;

std::string description(Error::Case failure, const std::string& detail) {
    switch (failure) {
    case Error::Case::localeUnsupported:
        return "Live speech transcription does not support locale " + detail + ".";
    case Error::Case::assetsUnavailable:
        return "Live speech transcription assets are unavailable for locale " + detail + ".";
    case Error::Case::audioConversionFailed:
        return "Live speech audio conversion failed: " + detail;
    case Error::Case::speechUnavailable:
        return "Live speech transcription is unavailable on this Mac.";
    case Error::Case::audioFormatUnavailable:
        return "Live speech transcription could not resolve a compatible audio format.";
    }
    return detail;
}

} // namespace

LiveSpeechTranscriptionSessionError::LiveSpeechTranscriptionSessionError(Case failure, std::string detail)
    : std::runtime_error(description(failure, detail)), failure_(failure), detail_(std::move(detail)) {}

} // namespace talkledger
