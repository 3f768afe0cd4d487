#include "TalkledgerWorkers/Transcriber/PocketSphinxEngine.h"
#include "TalkledgerWorkers/Transcriber/Transcriber.h"
#include "TalkledgerWorkers/Transcriber/WhisperEngines.h"
#include "TalkledgerWorkers/WorkerProgram.h"

extern "C" {
#include <libavutil/log.h>
}

#include <boost/asio/co_spawn.hpp>
#include <boost/asio/detached.hpp>

#include <filesystem>
#include <memory>
#include <string>
#include <utility>

namespace {

using namespace talkledger;

constexpr int niceness = 5; // more, and a busy machine would leave a transcript unfinished for minutes

std::unique_ptr<SpeechEngine> makeEngine(WhisperEngines& whisper, const SpeechEngineChoice& choice) {
    if (!choice.model.empty()) {
        return whisper.make(choice);
    }
    if (choice.locale != "en_US") {
        throw SpeechEngineError("No speech engine for " + choice.locale + " is installed.");
    }
    return std::make_unique<PocketSphinxEngine>(TALKLEDGER_POCKETSPHINX_MODELS);
}

void serve(boost::asio::io_context& context, FrameSocket::Socket socket) {
    WhisperEngines whisper;
    Transcriber transcriber(
        std::move(socket), [&](const SpeechEngineChoice& choice) { return makeEngine(whisper, choice); },
        [&](const std::filesystem::path& model) { whisper.check(model); }, {});
    boost::asio::co_spawn(context, transcriber.run(), boost::asio::detached);
    context.run();
    limitTheEnd();
}

} // namespace

int main() {
    av_log_set_level(AV_LOG_QUIET);
    silencePocketSphinx();
    return runWorkerProgram({.name = "talkledger-transcriber", .niceness = niceness, .serve = serve});
}
