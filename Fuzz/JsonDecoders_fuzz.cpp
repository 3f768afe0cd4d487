// Every decoder of a recording's files over arbitrary bytes: it either fails with a JsonError, or yields a value that
// reads back as the same from what is written of it.

#include "TalkledgerCore/Capture/CapturePermissionInspector.h"
#include "TalkledgerCore/Capture/RecordingTimeline.h"
#include "TalkledgerCore/Export/RecordingDiagnostics.h"
#include "TalkledgerCore/Model/ModelsJson.h"
#include "TalkledgerCore/Summary/GeneratedSalesSummary.h"

#include <nlohmann/json.hpp>

#include <cstddef>
#include <cstdint>
#include <cstdlib>
#include <memory>
#include <optional>
#include <string_view>

namespace {

using namespace talkledger;

const JsonSource source{.name = "The input", .advice = ""};

template <typename Value>
std::optional<Value> decodedOrRefused(const JsonReader& root) {
    try {
        return fromJson<Value>(root);
    } catch (const JsonError&) {
        return std::nullopt;
    }
}

template <typename Value>
void check(const JsonReader& root) {
    const std::optional<Value> value = decodedOrRefused<Value>(root);
    if (value && decodeJson<Value>(encodeJson(toJson(*value)), source) != *value) {
        std::abort();
    }
}

std::unique_ptr<const JsonDocument> parsedOrRefused(std::string_view text) {
    try {
        return std::make_unique<const JsonDocument>(text, source);
    } catch (const JsonError&) {
        return nullptr;
    }
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* bytes, std::size_t size) {
    const auto document = parsedOrRefused({reinterpret_cast<const char*>(bytes), size});
    if (document) {
        const JsonReader root = document->root();
        check<RecordingSession>(root);
        check<TranscriptDocument>(root);
        check<SalesSummary>(root);
        check<RecordingDiagnostics>(root);
        check<RecordingTimeline>(root);
        check<CapturePermissionSnapshot>(root);
        decodedOrRefused<GeneratedSalesSummary>(root);
    }
    return 0;
}
