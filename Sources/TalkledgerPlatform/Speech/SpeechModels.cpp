#include "TalkledgerPlatform/Speech/SpeechModels.h"

#include "TalkledgerPlatform/Files/ModelFileNames.h"

#include <array>
#include <cstdint>
#include <cstring>
#include <fstream>
#include <string_view>
#include <vector>

namespace talkledger {

namespace {

/// What every multilingual model knows.
constexpr std::string_view languages = " en zh de es ru ko fr ja pt tr pl ca nl ar sv it id hi fi vi he uk el ms cs ro "
                                       "da hu ta no th ur hr bg lt la mi ml cy "
                                       "sk te fa lv bn sr az sl kn et mk br eu is hy ne mn bs kk sq sw gl mr pa si km "
                                       "sn yo so af oc ka be tg sd gu am yi lo "
                                       "uz fo ht ps tk nn mt sa lb my bo tl mg as tt haw ln ha ba jw su ";

/// By the number of words it knows, which the file's head tells behind the letters "ggml".
bool isMultilingualModel(const std::filesystem::path& path) {
    constexpr std::int32_t englishVocabulary = 51864;
    std::array<char, 8> head{};
    std::ifstream(path, std::ios::binary).read(head.data(), head.size());
    std::int32_t vocabulary = 0;
    std::memcpy(&vocabulary, head.data() + 4, sizeof vocabulary);
    return vocabulary > englishVocabulary;
}

bool knows(bool isMultilingual, const std::string& locale) {
    const std::string language = locale.substr(0, locale.find_first_of("_-.@"));
    return isMultilingual ? !language.empty() && languages.find(" " + language + " ") != std::string_view::npos
                          : language == "en";
}

/// Empty where there is none.
std::filesystem::path newestIn(const std::filesystem::path& folder, ModelFileKind kind) {
    const std::vector<std::filesystem::path> files = modelFilesIn(folder, kind);
    return files.empty() ? std::filesystem::path() : files.front();
}

} // namespace

SpeechModels SpeechModels::installedIn(const std::filesystem::path& folder) {
    SpeechModels models{.speech = newestIn(folder, ModelFileKind::speech),
                        .voice = newestIn(folder, ModelFileKind::voice)};
    models.isMultilingual = !models.speech.empty() && isMultilingualModel(models.speech);
    return models;
}

bool SpeechModels::know(const std::string& locale) const {
    return !speech.empty() && knows(isMultilingual, locale);
}

bool modelKnows(const std::string& fileName, const std::string& locale) {
    return knows(!fileName.ends_with(".en.bin"), locale);
}

} // namespace talkledger
