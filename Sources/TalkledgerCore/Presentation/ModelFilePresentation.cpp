#include "TalkledgerCore/Presentation/ModelFilePresentation.h"

#include <array>
#include <cmath>
#include <cstdio>

namespace talkledger {
namespace {

constexpr double megabyte = 1e6;
constexpr double gigabyte = 1e9;

std::string amount(double bytes, bool isGigabytes) {
    std::array<char, 32> text{};
    std::snprintf(text.data(), text.size(), isGigabytes ? "%.1f" : "%.0f",
                  isGigabytes ? bytes / gigabyte : std::round(bytes / megabyte));
    return text.data();
}

} // namespace

std::string modelFileSize(std::int64_t bytes) {
    const auto size = static_cast<double>(bytes);
    const bool isGigabytes = size >= gigabyte;
    return amount(size, isGigabytes) + (isGigabytes ? " GB" : " MB");
}

std::string modelFileProgress(std::int64_t received, std::int64_t total) {
    const bool isGigabytes = static_cast<double>(total) >= gigabyte;
    return amount(static_cast<double>(received), isGigabytes) + " / " + modelFileSize(total);
}

std::string modelFileText(const ModelFileText& text, const AppCopy& copy) {
    return copy.language == DisplayLanguage::english ? text.english : text.japanese;
}

std::string modelFileFailure(const ModelFileError& error, const AppCopy& copy) {
    using Case = ModelFileError::Case;
    switch (error.failure()) {
    case Case::notReachable:
        return copy.modelNotReachable();
    case Case::notHandedOut:
        return copy.modelNotHandedOut();
    case Case::brokenOff:
        return copy.modelBrokenOff();
    case Case::refusedAddress:
        return copy.modelAddressRefused();
    case Case::wrongSize:
    case Case::wrongChecksum:
        return copy.modelNotGenuine();
    case Case::noChecksum:
        return copy.modelNotVerifiable();
    case Case::noSpace:
        return copy.modelNeedsSpace();
    case Case::notWritable:
        return copy.modelNotSaved();
    case Case::notAModel:
        return copy.noModelFile();
    case Case::notUsable:
        return copy.modelNotUsable();
    case Case::needsMemory:
        return copy.modelNeedsMemory();
    case Case::engineMissing:
        return copy.modelEngineMissing();
    case Case::cancelled:
        break;
    }
    return {};
}

} // namespace talkledger
