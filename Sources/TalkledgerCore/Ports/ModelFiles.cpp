#include "TalkledgerCore/Ports/ModelFiles.h"

namespace talkledger {
namespace {

std::string description(ModelFileError::Case failure, const std::string& reason) {
    using Case = ModelFileError::Case;
    switch (failure) {
    case Case::notReachable:
        return "The model could not be fetched: check the network connection and try again (" + reason + ").";
    case Case::brokenOff:
        return "The download was broken off. Try again: it goes on where it ended (" + reason + ").";
    case Case::refusedAddress:
        return "The download led to an address that is not safe and was stopped. Nothing was installed.";
    case Case::wrongSize:
        return "The file does not have the size that it should have. Nothing was installed: try again later.";
    case Case::wrongChecksum:
        return "The file is not the one that was asked for (its checksum differs). Nothing was installed: try again.";
    case Case::noChecksum:
        return "The host does not tell how the file can be verified, so it was not fetched.";
    case Case::noSpace:
        return "There is not enough free space on the disk for this model. Free some and try again.";
    case Case::notWritable:
        return "The model could not be saved: " + reason + ".";
    case Case::notAModel:
        return "\"" + reason + "\" is no model file. Choose a .bin file with a speech model or a .gguf file.";
    case Case::notUsable:
        return "The engine cannot work with this file: " + reason;
    case Case::cancelled:
        return "The download was cancelled.";
    }
    return reason;
}

} // namespace

ModelFileError::ModelFileError(Case failure, const std::string& reason)
    : std::runtime_error(description(failure, reason)), failure_(failure), reason_(reason) {}

} // namespace talkledger
