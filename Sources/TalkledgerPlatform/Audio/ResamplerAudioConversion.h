#pragma once

#include "TalkledgerCore/Ports/AudioConversion.h"

#include <memory>

namespace talkledger {

/// Conversion by libswresample: between whole sample rates, with channels mixed up or down without clipping. Any
/// thread; a converter is used by one at a time.
class ResamplerAudioConversion : public AudioConversion {
public:
    std::unique_ptr<AudioConverter> makeConverter(const AudioFormat& from, const AudioFormat& to) override;
};

} // namespace talkledger
