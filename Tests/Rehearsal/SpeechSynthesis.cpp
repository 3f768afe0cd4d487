#include "Rehearsal/SpeechSynthesis.h"

#include "Rehearsal/AudioReading.h"
#include "Support/ChildProcess.h"

#include <sstream>
#include <stdexcept>

namespace talkledger::rehearsal {

std::vector<std::string> synthesizerVoices() {
    testing::ChildProcessOptions options;
    options.arguments = {"flite", "-lv"};
    std::istringstream text(testing::runProgram(options)); // Voices available: kal awb_time kal16 awb rms slt
    std::string skipped;
    std::getline(text, skipped, ':');
    std::vector<std::string> voices;
    for (std::string voice; text >> voice;) {
        voices.push_back(voice);
    }
    return voices;
}

Samples synthesize(const std::string& voice, const std::string& text, const std::filesystem::path& scratchFolder) {
    const std::filesystem::path file = scratchFolder / "utterance.wav";
    testing::ChildProcessOptions options;
    options.arguments = {"flite", "-voice", voice, "-t", text, "-o", file.string()};
    testing::runProgram(options);
    Samples samples = readFirstChannel(file);
    if (samples.empty()) {
        throw std::runtime_error("The synthesiser has no sound for: " + text);
    }
    return samples;
}

Performance speak(const Conversation& conversation, const std::filesystem::path& scratchFolder) {
    std::vector<SpokenUtterance> utterances;
    for (const Utterance& utterance : conversation) {
        utterances.push_back({.isCustomer = utterance.speaker == SpeakerRole::customer,
                              .samples = synthesize(utterance.voice, utterance.text, scratchFolder)});
    }
    return perform(utterances);
}

} // namespace talkledger::rehearsal
