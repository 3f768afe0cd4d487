#include "TalkledgerWorkers/Transcriber/PocketSphinxEngine.h"

#include "TalkledgerWorkers/Transcriber/VoiceDetector.h"

#include <pocketsphinx.h>
#include <sphinxbase/cmn.h>
#include <sphinxbase/err.h>

#include <algorithm>
#include <array>
#include <cstddef>
#include <string>
#include <utility>

namespace talkledger {

namespace {

/// The library decides on speech or silence once a call: 20 ms.
constexpr std::size_t blockLength = 320;
constexpr double blocksPerSecond = 50;

/// The library works through an utterance once more at its end, in a fiftieth of its length: these bounds keep that
/// short enough to give up at once on request.
constexpr double cutFrom = 8;           ///< seconds from which a quiet moment ends an utterance
constexpr double longestUtterance = 12; ///< seconds
constexpr int quietBlocksOfCut = 4;
constexpr double quietShare = 0.02; ///< of the utterance's mean energy

constexpr int blocksPerHypothesis = 10;

constexpr double framesPerSecond = VoicingDetector::framesPerSecond;

void ignoreMessage(void*, err_lvl_t, const char*, ...) {}

struct ConfigurationDeleter {
    void operator()(cmd_ln_t* configuration) const { cmd_ln_free_r(configuration); }
};

double energy(std::span<const std::int16_t> samples) {
    double sum = 0;
    for (const std::int16_t sample : samples) {
        sum += static_cast<double>(sample) * sample;
    }
    return sum;
}

cmn_t& cepstralMeans(ps_decoder_t* decoder) {
    return *ps_get_feat(decoder)->cmn_struct;
}

/// The sounds of a dictionary entry.
int phoneCount(ps_decoder_t* decoder, const char* entry) {
    struct Release {
        void operator()(char* text) const { ckd_free(text); }
    };

    const std::unique_ptr<char, Release> phones(ps_lookup_word(decoder, entry));
    if (!phones) {
        return 0;
    }
    const std::string_view list = phones.get();
    return 1 + static_cast<int>(std::count(list.begin(), list.end(), ' '));
}

} // namespace

std::optional<std::string> writtenWord(std::string_view entry) {
    if (entry.empty() || entry.starts_with('<') || entry.starts_with('[') || entry.starts_with("++")) {
        return std::nullopt;
    }
    std::string word(entry.substr(0, entry.find('(')));
    if (word.empty()) {
        return std::nullopt;
    }
    if (word == "i" || word.starts_with("i'")) {
        word.front() = 'I';
    }
    return word;
}

void silencePocketSphinx() {
    err_set_logfp(nullptr);
    err_set_callback(ignoreMessage, nullptr);
}

void PocketSphinxEngine::DecoderDeleter::operator()(ps_decoder_s* decoder) const {
    ps_free(decoder);
}

PocketSphinxEngine::PocketSphinxEngine(const std::filesystem::path& modelFolder)
    : speech_(std::make_unique<VoiceDetector>()), segments_([this](const SpeechSegment& segment) {
          toldText_.clear();
          handler_(segment);
      }) {
    const std::filesystem::path english = modelFolder / "en-us";
    const std::unique_ptr<cmd_ln_t, ConfigurationDeleter> configuration(
        cmd_ln_init(nullptr, ps_args(), 1, "-hmm", (english / "en-us").c_str(), "-lm",
                    (english / "en-us.lm.bin").c_str(), "-dict", (english / "cmudict-en-us.dict").c_str(), nullptr));
    decoder_.reset(configuration ? ps_init(configuration.get()) : nullptr);
    if (!decoder_) {
        throw SpeechEngineError("The English speech model in \"" + modelFolder.string() +
                                "\" cannot be loaded. Install the package pocketsphinx-en-us again.");
    }
    const cmn_t& means = cepstralMeans(decoder_.get());
    initialMeans_.resize(static_cast<std::size_t>(means.veclen));
    cmn_live_get(&cepstralMeans(decoder_.get()), initialMeans_.data());
}

PocketSphinxEngine::~PocketSphinxEngine() = default;

void PocketSphinxEngine::begin(SpeechReporting reporting, SpeechSegmentHandler handler, std::stop_token /*stop*/) {
    if (std::exchange(isUtteranceOpen_, false)) {
        ps_end_utt(decoder_.get());
    }
    reporting_ = reporting;
    handler_ = std::move(handler);
    segments_.clear();
    toldText_.clear();
    voicing_.reset();
    speech_.reset();
    pending_.clear();
    processedSamples_ = 0;
    cmn_live_set(&cepstralMeans(decoder_.get()), initialMeans_.data());
    ps_start_stream(decoder_.get());
    startUtterance();
}

void PocketSphinxEngine::append(std::span<const std::int16_t> samples) {
    pending_.insert(pending_.end(), samples.begin(), samples.end());
    const std::span<const std::int16_t> available = pending_;
    std::size_t position = 0;
    for (; position + blockLength <= available.size(); position += blockLength) {
        process(available.subspan(position, blockLength));
    }
    pending_.erase(pending_.begin(), pending_.begin() + static_cast<std::ptrdiff_t>(position));
}

void PocketSphinxEngine::finish() {
    if (!pending_.empty()) {
        process(std::exchange(pending_, {}));
    }
    endUtterance();
    segments_.finish();
}

void PocketSphinxEngine::process(std::span<const std::int16_t> samples) {
    voicing_.append(samples);
    speech_.append(samples);
    ps_process_raw(decoder_.get(), samples.data(), samples.size(), 0, 0);
    processedSamples_ += static_cast<std::int64_t>(samples.size());
    const bool wasInSpeech = std::exchange(isInSpeech_, ps_get_in_speech(decoder_.get()) != 0);
    if ((wasInSpeech && !isInSpeech_) || (isInSpeech_ && shouldCut(samples))) {
        endUtterance();
        startUtterance();
    } else if (isInSpeech_) {
        tellHypothesis();
    } else {
        constexpr double lookback = 1; // seconds: an utterance begins somewhat before the library notices
        const double earliest = static_cast<double>(processedSamples_) / sampleRate - lookback;
        voicing_.forget(static_cast<std::int64_t>(earliest * framesPerSecond));
        speech_.forget(earliest);
        segments_.advance(earliest);
    }
}

/// Whether someone has spoken for so long that the utterance ends here.
bool PocketSphinxEngine::shouldCut(std::span<const std::int16_t> samples) {
    const double blockEnergy = energy(samples);
    speechSamples_ += static_cast<std::int64_t>(samples.size());
    speechEnergy_ += blockEnergy;
    const double spoken = static_cast<double>(speechSamples_) / sampleRate;
    const bool isQuiet = blockEnergy < quietShare * speechEnergy_ / (spoken * blocksPerSecond);
    quietBlocks_ = isQuiet ? quietBlocks_ + 1 : 0;
    return spoken >= longestUtterance || (spoken >= cutFrom && quietBlocks_ >= quietBlocksOfCut);
}

void PocketSphinxEngine::startUtterance() {
    ps_start_utt(decoder_.get());
    isUtteranceOpen_ = true;
    isInSpeech_ = false;
    speechSamples_ = 0;
    speechEnergy_ = 0;
    quietBlocks_ = 0;
    blocksUntilHypothesis_ = blocksPerHypothesis;
    lastHypothesis_.clear();
}

void PocketSphinxEngine::endUtterance() {
    ps_end_utt(decoder_.get());
    isUtteranceOpen_ = false;
    for (const HeardWord& word : trustedWords(heardWords())) {
        segments_.append(word);
    }
    tellWordsSoFar({});
}

void PocketSphinxEngine::tellHypothesis() {
    if (reporting_ != SpeechReporting::alsoHypotheses || --blocksUntilHypothesis_ > 0) {
        return;
    }
    blocksUntilHypothesis_ = blocksPerHypothesis;
    std::vector<HeardWord> hypothesis = heardWords();
    tellWordsSoFar(settledWords(hypothesis, lastHypothesis_));
    lastHypothesis_ = std::move(hypothesis);
}

/// Tells those of the segment that is being joined, with those of the utterance under way.
void PocketSphinxEngine::tellWordsSoFar(const std::vector<HeardWord>& current) {
    if (reporting_ != SpeechReporting::alsoHypotheses) {
        return;
    }
    std::vector<HeardWord> words = segments_.pending();
    words.insert(words.end(), current.begin(), current.end());
    if (words.empty()) {
        return;
    }
    SpeechSegment hypothesis = joinedWords(words);
    hypothesis.isFinal = false;
    if (std::exchange(toldText_, hypothesis.text) != hypothesis.text) {
        handler_(hypothesis);
    }
}

std::vector<HeardWord> PocketSphinxEngine::heardWords() const {
    std::vector<HeardWord> words;
    // Without a hypothesis, asking for confidences would compute them over an empty lattice.
    if (ps_get_hyp(decoder_.get(), nullptr) == nullptr) {
        return words;
    }
    logmath_t* logarithms = ps_get_logmath(decoder_.get());
    for (ps_seg_t* segment = ps_seg_iter(decoder_.get()); segment != nullptr; segment = ps_seg_next(segment)) {
        const char* entry = ps_seg_word(segment);
        std::optional<std::string> text = writtenWord(entry);
        if (!text) {
            continue;
        }
        int first = 0;
        int last = 0;
        ps_seg_frames(segment, &first, &last);
        const double start = first / framesPerSecond;
        const double end = (last + 1) / framesPerSecond;
        const int voicedFrames = speech_.hasSpeech(start, end) ? voicing_.voicedFrames(first - 3, last) : 0;
        const double probability = logmath_exp(logarithms, ps_seg_prob(segment, nullptr, nullptr, nullptr));
        words.push_back({.text = *std::move(text),
                         .start = start,
                         .end = end,
                         .confidence = std::clamp(probability, 0.0, 1.0),
                         .phones = phoneCount(decoder_.get(), entry),
                         .voicedSeconds = voicedFrames / framesPerSecond});
    }
    return words;
}

} // namespace talkledger
