#include "TalkledgerPlatform/ModelFiles/WriteFailure.h"

#include <cerrno>
#include <system_error>

namespace talkledger {

ModelFileError writeFailure(int error) {
    const bool isFull = error == ENOSPC || error == EDQUOT;
    return ModelFileError(isFull ? ModelFileError::Case::noSpace : ModelFileError::Case::notWritable,
                          std::generic_category().message(error));
}

void throwIfWriteFailed(int error) {
    if (error != 0) {
        throw writeFailure(error);
    }
}

} // namespace talkledger
