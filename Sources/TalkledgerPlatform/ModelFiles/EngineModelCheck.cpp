#include "TalkledgerPlatform/ModelFiles/EngineModelCheck.h"

#include "TalkledgerPlatform/Worker/WorkerError.h"

#include <utility>

namespace talkledger {
namespace {

ModelFileError::Case caseOf(const WorkerError& error) {
    using Case = ModelFileError::Case;
    switch (error.failure()) {
    case WorkerError::Case::cannotStart:
    case WorkerError::Case::noEngine:
        return Case::engineMissing;
    case WorkerError::Case::noMemory:
        return Case::needsMemory;
    case WorkerError::Case::closed:
        return Case::cancelled;
    default:
        return Case::notUsable;
    }
}

Task<void> told(Task<void> checking) {
    try {
        co_await std::move(checking);
    } catch (const WorkerError& error) {
        throw ModelFileError(caseOf(error), error.what());
    }
}

} // namespace

EngineModelCheck::EngineModelCheck(WorkerSettings transcriber, LanguageModelCheck& language)
    : speech_(std::move(transcriber)), language_(language) {}

Task<void> EngineModelCheck::check(ModelFileKind kind, std::filesystem::path file) {
    return told(kind == ModelFileKind::language ? language_.check(std::move(file)) : speech_.check(std::move(file)));
}

} // namespace talkledger
