#pragma once

#include "TalkledgerCore/Ports/Audio.h"

#include <functional>
#include <memory>
#include <optional>
#include <string>

/// Conversion of captured audio into another sample rate, channel count and sample format. Everything here is called on
/// the thread that has the audio and does not block.
namespace talkledger {

/// How a converter treats the frames that its filter wants before the first and after the last one.
enum class AudioConverterPrimeMethod {
    none, ///< both are taken for silence: the output begins with the input, and no input is waited for in advance
};

enum class AudioConverterInputStatus {
    haveData,
    noDataNow,   ///< more may come in a later conversion
    endOfStream, ///< nothing comes any more
};

enum class AudioConverterOutputStatus {
    haveData,    ///< the output is full
    inputRanDry, ///< the output holds what the input gave
    endOfStream, ///< the output holds what the filter still held back
    error,
};

struct AudioConverterInput {
    AudioConverterInputStatus status{AudioConverterInputStatus::noDataNow};
    SharedAudioBuffer buffer; ///< in the converter's input format; null unless there is data
};

/// Asked for input until it has none.
using AudioConverterInputBlock = std::function<AudioConverterInput()>;

struct AudioConverterOutcome {
    AudioConverterOutputStatus status{AudioConverterOutputStatus::error};
    std::optional<std::string> error; ///< what went wrong, in words
};

/// A conversion between two formats. It is one stream: what the filter needs of a buffer is kept for the next one.
class AudioConverter {
public:
    AudioConverter() = default;
    AudioConverter(const AudioConverter&) = delete;
    AudioConverter& operator=(const AudioConverter&) = delete;
    virtual ~AudioConverter() = default;

    virtual void setPrimeMethod(AudioConverterPrimeMethod method) = 0;

    /// Fills `output`, which has the output format and room for `output.frameLength` frames. Afterwards its frame
    /// length and samples are those that were converted, and its time is that of the first of them on the input's
    /// clock.
    virtual AudioConverterOutcome convert(AudioBuffer& output, const AudioConverterInputBlock& input) = 0;
};

/// Where converters come from.
class AudioConversion {
public:
    AudioConversion() = default;
    AudioConversion(const AudioConversion&) = delete;
    AudioConversion& operator=(const AudioConversion&) = delete;
    virtual ~AudioConversion() = default;

    /// Null when these formats cannot be converted.
    virtual std::unique_ptr<AudioConverter> makeConverter(const AudioFormat& from, const AudioFormat& to) = 0;
};

} // namespace talkledger
