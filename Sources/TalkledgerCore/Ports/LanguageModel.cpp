#include "TalkledgerCore/Ports/LanguageModel.h"

namespace talkledger {

std::string description(LanguageModelLack lack) {
    return lack == LanguageModelLack::engine
               ? "this copy of Talkledger was built without the engine for language models."
               : "no language model is installed. Choose one in the settings; until then, recordings are kept and "
                 "transcribed without a summary.";
}

} // namespace talkledger
