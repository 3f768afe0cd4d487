#include "Rehearsal/Comparison.h"

#include "TalkledgerCore/Support/Text.h"

#include <algorithm>
#include <cmath>
#include <numeric>
#include <vector>

namespace talkledger::rehearsal {
namespace {

// Below it a sum of squares is rounding, and its shape means nothing.
constexpr double kSilence = 1e-9;

double energy(const float* samples, std::size_t count) {
    return std::inner_product(samples, samples + count, samples, 0.0);
}

std::vector<std::u32string> words(const std::string& text) {
    std::vector<std::u32string> found(1);
    for (const char32_t scalar : text::scalars(text::lowercased(text))) {
        if (text::isWhitespaceOrNewline(scalar)) {
            found.emplace_back();
        } else if (!text::isPunctuation(scalar) && !text::isSymbol(scalar)) {
            found.back() += scalar;
        }
    }
    std::erase_if(found, [](const std::u32string& word) { return word.empty(); });
    return found;
}

} // namespace

std::optional<std::size_t> findExactly(const Samples& track, const Samples& passage) {
    const auto found = std::ranges::search(track, passage);
    if (found.size() != passage.size()) {
        return std::nullopt;
    }
    return static_cast<std::size_t>(found.begin() - track.begin());
}

Correlation correlate(const Samples& track, const Samples& sound, std::size_t from, std::size_t to) {
    const std::size_t last = track.size() < sound.size() ? 0 : std::min(to, track.size() - sound.size());
    if (track.size() < sound.size() || from > last) {
        return {};
    }
    const double soundEnergy = energy(sound.data(), sound.size());
    double energyHere = energy(track.data() + from, sound.size());
    std::vector<double> coefficients;
    for (const float* here = track.data() + from; here <= track.data() + last; ++here) {
        const double product = std::inner_product(sound.begin(), sound.end(), here, 0.0);
        const double scale = std::sqrt(soundEnergy * energyHere);
        coefficients.push_back(scale > kSilence ? product / scale : 0.0);
        const double leaving = here[0];
        const double entering = here < track.data() + last ? here[sound.size()] : 0;
        energyHere += entering * entering - leaving * leaving;
    }
    const auto best = std::ranges::max_element(coefficients);
    const auto index = static_cast<std::size_t>(best - coefficients.begin());
    double fraction = 0;
    if (index > 0 && index + 1 < coefficients.size()) { // the top of the parabola through the three highest points
        const double curvature = best[-1] - 2 * best[0] + best[1];
        fraction = curvature < 0 ? (best[-1] - best[1]) / (2 * curvature) : 0;
    }
    return {.position = static_cast<double>(from + index) + fraction, .coefficient = *best};
}

double shareOfWords(const std::string& spoken, const std::string& written) {
    const std::vector<std::u32string> said = words(spoken);
    const std::vector<std::u32string> heard = words(written);
    std::vector<std::size_t> above(heard.size() + 1, 0);
    for (const std::u32string& word : said) {
        std::vector<std::size_t> row(1, 0);
        for (std::size_t index = 0; index < heard.size(); ++index) {
            row.push_back(word == heard[index] ? above[index] + 1 : std::max(row[index], above[index + 1]));
        }
        above = std::move(row);
    }
    return said.empty() ? 0 : static_cast<double>(above.back()) / static_cast<double>(said.size());
}

} // namespace talkledger::rehearsal
