#include "TalkledgerCore/Ports/ModelFiles.h"

namespace talkledger {
namespace {

std::string description(ModelFileError::Case failure) {
    using Case = ModelFileError::Case;
    switch (failure) {
    case Case::notReachable:
        return "The model's host could not be reached.";
    case Case::notHandedOut:
        return "The model's host does not hand it out.";
    case Case::brokenOff:
        return "The download was broken off.";
    case Case::refusedAddress:
        return "The download led to an address that is not safe.";
    case Case::wrongSize:
        return "The file does not have the size that it should have.";
    case Case::wrongChecksum:
        return "The file does not have the checksum that it should have.";
    case Case::noChecksum:
        return "The host does not declare the file's checksum.";
    case Case::noSpace:
        return "There is not enough free space on the disk.";
    case Case::notWritable:
        return "The model could not be saved.";
    case Case::notAModel:
        return "The file is no model.";
    case Case::notUsable:
        return "The engine cannot work with the file.";
    case Case::needsMemory:
        return "There is not enough memory for the model.";
    case Case::engineMissing:
        return "This copy of Talkledger lacks the engine for the model.";
    case Case::cancelled:
        break;
    }
    return "The download was cancelled.";
}

} // namespace

ModelFileError::ModelFileError(Case failure, const std::string& reason)
    : std::runtime_error(description(failure) + (reason.empty() ? "" : " " + reason)),
      failure_(failure),
      reason_(reason) {}

} // namespace talkledger
