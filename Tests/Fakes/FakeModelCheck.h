#pragma once

#include "TalkledgerCore/Ports/ModelFiles.h"

#include <filesystem>
#include <optional>
#include <stdexcept>
#include <string>
#include <utility>
#include <vector>

namespace talkledger::testing {

/// An engine that works with every file, until it is told what to say against it.
class FakeModelCheck final : public ModelFileChecking {
public:
    std::optional<std::string> failure;
    std::vector<std::pair<ModelFileKind, std::filesystem::path>> checks;

    Task<void> check(ModelFileKind kind, std::filesystem::path file) override {
        checks.emplace_back(kind, std::move(file));
        if (failure) {
            throw ModelFileError(ModelFileError::Case::notUsable, *failure);
        }
        co_return;
    }
};

} // namespace talkledger::testing
