#include "TalkledgerPlatform/ModelFiles/EngineModelCheck.h"

#include <utility>

namespace talkledger {

EngineModelCheck::EngineModelCheck(WorkerSettings transcriber, LanguageModelCheck& language)
    : speech_(std::move(transcriber)), language_(language) {}

Task<void> EngineModelCheck::check(ModelFileKind kind, std::filesystem::path file) {
    return kind == ModelFileKind::language ? language_.check(std::move(file)) : speech_.check(std::move(file));
}

} // namespace talkledger
