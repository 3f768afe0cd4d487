#pragma once

#include "Fakes/Gate.h"
#include "TalkledgerCore/Ports/ModelFiles.h"

#include <filesystem>
#include <map>
#include <memory>
#include <optional>
#include <string>
#include <utility>
#include <vector>

namespace talkledger::testing {

/// A folder in which everything stands as a picture wants it.
class FakeModelFiles final : public ModelFiles {
public:
    struct Script {
        std::int64_t received{0};
        std::int64_t total{0};
        bool isBeingVerified{false};
        std::optional<ModelFileError> failure; ///< otherwise the download stands still
    };

    std::map<ModelFileKind, std::vector<std::string>> names;
    std::map<std::string, Script> scripts; ///< by the file's name
    std::optional<ModelFileError> installationFailure;

    FakeModelFiles() { standstill_.close(); }

    std::vector<std::string> installed(ModelFileKind kind) const override {
        const auto known = names.find(kind);
        return known == names.end() ? std::vector<std::string>() : known->second;
    }

    Task<void> download(KnownModelFile file, std::shared_ptr<ModelFileProgress> progress) override {
        const Script script = scripts[file.name];
        progress->total = script.total;
        progress->received = script.received;
        progress->isBeingVerified = script.isBeingVerified;
        if (script.failure) {
            throw ModelFileError(*script.failure);
        }
        co_await standstill_.pass();
    }

    Task<ModelFileKind> install(std::filesystem::path /*file*/) override {
        if (installationFailure) {
            throw ModelFileError(*installationFailure);
        }
        co_await standstill_.pass();
        co_return ModelFileKind::speech;
    }

    void prefer(const std::string& /*name*/) override {}

    Task<void> remove(std::string /*name*/) override { co_return; }

private:
    Gate standstill_;
};

} // namespace talkledger::testing
