// Fuzzes the readers of motion files: what was read must be written and read back the same.

#include "stage/formats/native/motion_file.h"
#include "fuzz/reading.h"

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    using namespace cadencora::stage;
    const std::string_view text(reinterpret_cast<const char*>(data), size);
    if (const auto envelopes = parseEnvelopes(text, "input.mot")) {
        const auto written = [](const std::vector<Envelope>& all) {
            std::string texts;
            for (const Envelope& envelope : all)
                texts += envelopeText(envelope);
            return texts;
        };
        for (const Envelope& envelope : envelopes.value())
            checkCurve(envelope);
        const std::string first = written(envelopes.value());
        const auto again = parseEnvelopes(first, "again.mot");
        require(again.ok(), "what was written is read");
        require(written(again.value()) == first, "and is the same");
    }
    if (const auto motion = parseItemMotion(text, "input.mot"))
        for (const auto& channel : motion.value().channels)
            checkCurve(channel.envelope);
    return 0;
}
