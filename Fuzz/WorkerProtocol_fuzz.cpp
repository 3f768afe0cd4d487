// Bytes from a worker or the program, cut into frames and decoded as the messages of both directions.
#include "TalkledgerWorkers/Protocol/Message.h"
#include "TalkledgerWorkers/Protocol/SummarizerMessages.h"
#include "TalkledgerWorkers/Protocol/TranscriberMessages.h"

#include <cstdint>
#include <cstdlib>
#include <span>
#include <stdexcept>

namespace {

using namespace talkledger;

/// What can be decoded has to come back from its encoding as it was.
template <typename AnyMessage>
void decode(const Frame& frame) {
    try {
        const auto message = decodeMessage<AnyMessage>(frame);
        FrameDecoder decoder;
        decoder.append(std::visit([](const auto& known) { return encodeMessage(known); }, message));
        if (decodeMessage<AnyMessage>(decoder.next().value()) != message) {
            std::abort();
        }
    } catch (const ProtocolError&) {
        return;
    } catch (const JsonError&) {
        return;
    }
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* input, std::size_t size) {
    const std::span<const std::byte> bytes = std::as_bytes(std::span(input, size));
    FrameDecoder decoder;
    try {
        decoder.append(bytes.first(size / 2));
        decoder.append(bytes.subspan(size / 2));
        while (const std::optional<Frame> frame = decoder.next()) {
            decode<MessageToTranscriber>(*frame);
            decode<MessageFromTranscriber>(*frame);
            decode<MessageToSummarizer>(*frame);
            decode<MessageFromSummarizer>(*frame);
        }
    } catch (const ProtocolError&) {
        return 0;
    }
    return 0;
}
