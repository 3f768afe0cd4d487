#pragma once

#include <stdexcept>
#include <string>

namespace talkledger {

/// What an engine lacks, as far as a window says it in words of its own.
enum class EngineLack { nothing, memory, engine };

/// Why an engine cannot work. `what()` is the user-visible text.
class EngineError : public std::runtime_error {
public:
    explicit EngineError(const std::string& description, EngineLack lack = EngineLack::nothing)
        : std::runtime_error(description), lack_(lack) {}

    EngineLack lack() const { return lack_; }

private:
    EngineLack lack_;
};

} // namespace talkledger
