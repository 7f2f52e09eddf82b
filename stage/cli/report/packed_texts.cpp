#include "stage/cli/report/packed_texts.h"

#include "stage/cli/report/json.h"

namespace cadencora::stage {

std::string packedTexts(const std::vector<std::string>& texts) {
    Json packet = Json::array();
    for (const std::string& text : texts)
        packet.push_back(Json::binary({text.begin(), text.end()}));
    const auto bytes = Json::to_cbor(packet);
    return {bytes.begin(), bytes.end()};
}

std::vector<std::string> unpackedTexts(std::string_view bytes) {
    std::vector<std::string> texts;
    for (const Json& text : Json::from_cbor(bytes))
        texts.emplace_back(text.get_binary().begin(), text.get_binary().end());
    return texts;
}

} // namespace cadencora::stage
