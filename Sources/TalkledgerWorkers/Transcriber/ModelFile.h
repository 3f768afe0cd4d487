#pragma once

#include <filesystem>

namespace talkledger {

/// Two kinds of files share one format: a head, then named tensors up to the end.
enum class ModelKind {
    speech, ///< recognises
    voice   ///< tells voices from other sounds
};

/// Reads a model's file from its head to its last tensor, as the engine will, since the engine itself trusts every
/// length in it and takes one that was cut short for whole. Throws `SpeechEngineError` for a file that is none, or not
/// whole.
ModelKind examineModelFile(const std::filesystem::path& path);

} // namespace talkledger
