#pragma once

#include "Fakes/Gate.h"
#include "TalkledgerCore/Ports/LanguageModel.h"

namespace talkledger::testing {

/// A language model that answers what the test wrote and remembers what it was last asked.
class FakeLanguageModel final : public SystemLanguageModel {
public:
    LanguageModelAvailability state{.isAvailable = true, .reason = UnavailableReason::unknown, .lack = {}};
    std::string answer;
    std::optional<std::string> failure;
    mutable int availabilityCount{0};
    int sessionCount{0};
    std::string instructions;
    std::string prompt;
    GenerationSchema schema;
    bool schemaIsIncluded{false};
    GenerationOptions options;
    Gate answering;

    LanguageModelAvailability availability() const override {
        ++availabilityCount;
        return state;
    }

    std::unique_ptr<LanguageModelSession> makeSession(const std::string& sessionInstructions) override {
        ++sessionCount;
        instructions = sessionInstructions;
        return std::make_unique<Session>(*this);
    }

private:
    class Session final : public LanguageModelSession {
    public:
        explicit Session(FakeLanguageModel& model) : model_(model) {}

        Task<std::string> respond(const std::string& question, const GenerationSchema& wantedSchema,
                                  bool includeSchemaInPrompt, const GenerationOptions& wantedOptions) override {
            model_.prompt = question;
            model_.schema = wantedSchema;
            model_.schemaIsIncluded = includeSchemaInPrompt;
            model_.options = wantedOptions;
            co_await model_.answering.pass();
            throwIfSet(model_.failure);
            co_return model_.answer;
        }

    private:
        FakeLanguageModel& model_;
    };
};

} // namespace talkledger::testing
