#include "TalkledgerCore/Storage/ModelCatalogue.h"

#include <algorithm>
#include <map>
#include <string>
#include <utility>

namespace talkledger {

template <>
ModelFileText fromJson<ModelFileText>(const JsonReader& reader) {
    return {.english = reader.required("english").string(), .japanese = reader.required("japanese").string()};
}

namespace {

ModelFileKind kindFrom(const JsonReader& reader) {
    static const std::map<std::string, ModelFileKind> kinds{
        {"speech", ModelFileKind::speech}, {"voice", ModelFileKind::voice}, {"language", ModelFileKind::language}};
    const auto kind = kinds.find(reader.string());
    if (kind == kinds.end()) {
        throw reader.invalid("speech, voice or language");
    }
    return kind->second;
}

std::string nameFrom(const JsonReader& reader) {
    std::string name = reader.string();
    if (name.empty() || name.starts_with('.') || name.find('/') != std::string::npos) {
        throw reader.invalid("the name of a file");
    }
    return name;
}

std::string addressFrom(const JsonReader& reader) {
    std::string address = reader.string();
    if (!address.starts_with("https://")) {
        throw reader.invalid("an https address");
    }
    return address;
}

std::int64_t bytesFrom(const JsonReader& reader) {
    const std::int64_t bytes = reader.integer();
    if (bytes <= 0) {
        throw reader.invalid("above zero");
    }
    return bytes;
}

std::string sha1From(const std::optional<JsonReader>& reader) {
    constexpr std::size_t digits = 40;
    if (!reader) {
        return {};
    }
    std::string sum = reader->string();
    const bool isHexadecimal = sum.find_first_not_of("0123456789abcdef") == std::string::npos;
    if (sum.size() != digits || !isHexadecimal) {
        throw reader->invalid("40 hexadecimal digits");
    }
    return sum;
}

bool flagFrom(const std::optional<JsonReader>& reader) {
    return reader && reader->boolean();
}

} // namespace

template <>
KnownModelFile fromJson<KnownModelFile>(const JsonReader& reader) {
    return {.identifier = reader.required("identifier").string(),
            .kind = kindFrom(reader.required("kind")),
            .name = nameFrom(reader.required("name")),
            .address = addressFrom(reader.required("address")),
            .bytes = bytesFrom(reader.required("bytes")),
            .sha1 = sha1From(reader.optional("sha1")),
            .title = fromJson<ModelFileText>(reader.required("title")),
            .cost = fromJson<ModelFileText>(reader.required("cost")),
            .isUsual = flagFrom(reader.optional("isUsual")),
            .isRecommended = flagFrom(reader.optional("isRecommended"))};
}

std::vector<KnownModelFile> readModelCatalogue(std::string_view json, JsonSource source) {
    const JsonDocument document(json, std::move(source));
    return listFromJson<KnownModelFile>(document.root());
}

} // namespace talkledger
