#include "TalkledgerCore/Ports/Audio.h"

namespace talkledger {

std::span<const float> AudioBuffer::floatSamples() const {
    if (format.commonFormat != AudioSampleFormat::float32) {
        return {};
    }
    // The allocator aligns a vector's storage for every fundamental type.
    return {reinterpret_cast<const float*>(samples.data()), samples.size() / sizeof(float)};
}

} // namespace talkledger
