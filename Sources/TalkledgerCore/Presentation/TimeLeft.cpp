#include "TalkledgerCore/Presentation/TimeLeft.h"

#include <cmath>

namespace talkledger {
namespace {

constexpr double leastShare = 0.02;
constexpr std::chrono::seconds leastElapsed{1};

double grain(double seconds) {
    if (seconds <= 10) {
        return 1;
    }
    return seconds <= 60 ? 5 : 10;
}

} // namespace

std::optional<std::chrono::seconds> timeLeft(std::chrono::duration<double> elapsed, double share) {
    if (elapsed < leastElapsed || !(share >= leastShare)) {
        return std::nullopt;
    }
    const double left = share < 1 ? elapsed.count() * (1 - share) / share : 0;
    const double step = grain(left);
    return std::chrono::seconds(std::lround(std::ceil(left / step) * step));
}

} // namespace talkledger
