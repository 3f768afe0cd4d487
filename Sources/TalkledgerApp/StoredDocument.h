#pragma once

#include "TalkledgerCore/Model/ModelsJson.h"
#include "TalkledgerCore/Ports/FileSystem.h"
#include "TalkledgerCore/Storage/RecordingStore.h"

#include <exception>
#include <filesystem>
#include <optional>

namespace talkledger {

/// A document of a recording, for whoever does without where it is missing or cannot be read. Any thread.
template <typename Document>
std::optional<Document> storedDocument(const FileSystem& fileSystem, const std::filesystem::path& file) {
    try {
        return decodeJson<Document>(fileSystem.readFile(file, RecordingStore::maximumFileBytes), jsonFile(file));
    } catch (const std::exception&) {
        return std::nullopt;
    }
}

} // namespace talkledger
