#pragma once

#include "TalkledgerCore/Ports/AudioConversion.h"

#include <cstdint>
#include <memory>
#include <optional>

namespace talkledger {

/// What a converter is made for: all that a format has.
using AudioFormatKey = AudioFormat;

/// Brings captured buffers of one channel into the recogniser's format. The capture's format may change in mid-stream.
/// Used by one thread at a time.
class SpeechAnalyzerBufferConverter {
public:
    /// `conversion` has to outlive it.
    SpeechAnalyzerBufferConverter(const AudioFormat& outputFormat, AudioConversion& conversion);

    /// A buffer that has the output format comes back as it is. Throws `LiveSpeechTranscriptionSessionError`, case
    /// `audioConversionFailed`.
    SharedAudioBuffer convert(const SharedAudioBuffer& buffer);

    /// The room that the converted buffer needs at most, in frames.
    std::uint32_t convertedFrameCapacity(const AudioBuffer& from) const;

private:
    AudioConverter& converterFor(const AudioFormatKey& key);
    std::shared_ptr<AudioBuffer> makeOutputBuffer(std::uint32_t frameCapacity) const;

    AudioFormat outputFormat_;
    std::optional<AudioFormatKey> inputFormatKey_; ///< what `converter_` was made for
    std::unique_ptr<AudioConverter> converter_;
    AudioConversion& conversion_;
};

} // namespace talkledger
