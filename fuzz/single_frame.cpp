// Fuzzes the reader of single frame records: what was read must be written and read back the same.

#include "plugin/transfer/frame_records.h"

#include <cmath>
#include <cstdint>
#include <cstdlib>
#include <cstring>

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    using namespace cadencora;
    if (size == 0) return 0;
    std::FILE* file = fmemopen(const_cast<std::uint8_t*>(data), size, "r");
    if (!file) return 0;
    char line[recordLineSize], again[recordLineSize];
    FrameRecord record, back;
    while (readRecordLine(file, line)) {
        if (!parseRecord(line, &record)) continue;
        if (!std::isfinite(record.value)) std::abort();
        if (!readsBack(record.item, record.channel)) continue;
        // What is written of a record that reads back is that record.
        if (!formatRecord(record.item, record.channel, record.value, again)) continue;
        if (!parseRecord(again, &back) || std::strcmp(back.item, record.item) != 0 ||
            std::strcmp(back.channel, record.channel) != 0 ||
            !(std::fabs(back.value - record.value) <= 1e-6 + 1e-15 * std::fabs(record.value)))
            std::abort();
    }
    std::fclose(file);
    return 0;
}
