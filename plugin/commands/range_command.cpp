#include "plugin/commands/range_command.h"

#include "plugin/sets/dialogs.h"

namespace cadencora {

bool beginRangeCommand(void* userData, RangeRun* run) {
    run->state = static_cast<ToolState*>(userData);
    return fetchServices(&run->services) && createDefaultPanel(run->state, &run->start, &run->end);
}

} // namespace cadencora
