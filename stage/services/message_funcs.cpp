// "Info Messages 2": message boxes and questions.

#include "stage/services/gate.h"
#include "stage/services/tables.h"

namespace cadencora::stage {

namespace {

constexpr SlotName service = "Info Messages 2";

std::string line(const char* text) {
    return text ? text : "";
}

void info(Host& host, const char* line1, const char* line2) {
    host.frontEnd().show({MessageKind::info, {line(line1), line(line2)}});
}

void error(Host& host, const char* line1, const char* line2) {
    host.frontEnd().show({MessageKind::error, {line(line1), line(line2)}});
}

int yesNo(Host& host, const char* title, const char* line1, const char* line2) {
    return host.frontEnd().ask({MessageKind::question, {line(title), line(line1), line(line2)}});
}

} // namespace

host::MessageFuncs& messageFuncs() {
    static host::MessageFuncs table{
        .info = gate<service, "info", &info>,
        .slot1 = nullptr,
        .error = gate<service, "error", &error>,
        .slot3 = nullptr,
        .yesNo = gate<service, "yesNo", &yesNo>,
    };
    return table;
}

} // namespace cadencora::stage
